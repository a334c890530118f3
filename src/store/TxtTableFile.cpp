#include "store/TxtTableFile.h"

#include "base/HostYield.h"
#include "base/MessageSink.h"
#include "base/NumberText.h"
#include "base/VbError.h"
#include "store/DataFileIo.h"
#include "store/DataFileLoads.h"
#include "store/RecordLine.h"

namespace velmora {
namespace {

constexpr int kFieldCount = 24;

// The letter counters' slots in file order (fields 7 to 22). The order is the
// file's fixed layout; reader and writer share it.
constexpr int kCounterOrder[16] = {1, 9, 11, 0, 15, 14, 3, 8, 13, 6, 4, 12, 2, 7, 5, 10};

TxtRec parseRecord(const RecordFields<kFieldCount>& f) {
    TxtRec rec;
    rec.Flag = toBool16(f.isSpamFlag(0));
    rec.Sender = f.text(1);
    rec.Attachment = f.text(2);
    rec.CharCount = f.int32(3);
    rec.LineCount = f.int16(4);
    rec.MailAddr = f.text(5);
    rec.LinkHost = f.text(6);
    for (int k = 0; k < 16; ++k)
        rec.Counts[kCounterOrder[k]] = f.int32(7 + k);
    rec.Subject = f.text(23);
    return rec;
}

void appendRecordLine(QByteArray& out, const TxtRec& rec) {
    RecordLineWriter line(out);
    line.flag(rec.Flag != kFalse)
        .text(rec.Sender)
        .text(rec.Attachment)
        .number(rec.CharCount)
        .number(rec.LineCount)
        .text(rec.MailAddr)
        .text(rec.LinkHost);
    for (int slot : kCounterOrder)
        line.number(rec.Counts[slot]);
    line.text(rec.Subject).finish();
}

} // namespace

void ReadTxtTable(SpamData& data) {
    data.TxtTable.reset();
    const QString path = data.folder.dataFile(kTxtDataFile);
    try {
        const QByteArray content = readDataFile(path);
        RecordFields<kFieldCount> fields;
        forEachLine(content, [&](QByteArrayView line, int number) {
            if (!fields.split(line))
                return true;
            TxtRec rec = parseAtLine(kTxtDataFile, number, [&] { return parseRecord(fields); });
            yieldToHost();
            data.TxtTable.append(std::move(rec));
            return true;
        });
        dataFileLoads::noteComplete(path);
    } catch (const VbError& error) {
        const QString message = QStringLiteral("ReadTxtTable: ") + error.description();
        dataFileLoads::noteIncomplete(path, loadFailureCause(message));
        showMessage(message);
    }
}

void WriteTxtTable(SpamData& data) {
    const int upperBound = data.TxtTable.upperBound();
    int i = 0;
    try {
        DataFileWriter writer(data.folder.dataFile(kTxtDataFile));
        writer.open();
        QByteArray content;
        content.reserve(qsizetype(upperBound) * 160);
        for (i = 1; i <= upperBound; ++i) {
            // The table may change while the host runs its events below; a slot
            // that has gone is passed over like any record that fails.
            const TxtRecords& table = data.TxtTable;
            if (i <= table.upperBound() && !table[i].Sender.isEmpty())
                appendRecordLine(content, table[i]);
            yieldToHost();
        }
        writer.commit(content);
    } catch (const VbError& error) {
        showMessage(QStringLiteral("WriteTxtTable_error: ") + error.description() +
                    QStringLiteral(" i=") + signOrSpace(i) + QStringLiteral("Max=") +
                    signOrSpace(upperBound));
    }
}

} // namespace velmora
