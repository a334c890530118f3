#include "store/PicTableFile.h"

#include "base/HostYield.h"
#include "base/MessageSink.h"
#include "base/VbError.h"
#include "store/DataFileIo.h"
#include "store/DataFileLoads.h"
#include "store/FileHelpers.h"
#include "store/RecordLine.h"

namespace velmora {
namespace {

constexpr int kFieldCount = 26;

PicRec parseEntry(const RecordFields<kFieldCount>& f) {
    PicRec rec;
    rec.Flag = toBool16(f.isSpamFlag(0));
    rec.Sender = f.text(1);
    rec.Attachment = f.text(2);
    rec.FileLength = f.int32(3);
    rec.Size = f.int16(4);
    for (int j = 0; j < 20; ++j)
        rec.Values[j] = f.int32(j + 5);
    rec.Subject = f.text(25);
    return rec;
}

void appendEntryLine(QByteArray& out, const PicRec& rec) {
    RecordLineWriter line(out);
    line.flag(rec.Flag != kFalse)
        .text(rec.Sender)
        .text(rec.Attachment)
        .number(rec.FileLength)
        .number(rec.Size);
    for (std::int32_t value : rec.Values)
        line.number(value);
    line.text(rec.Subject).finish();
}

// Appends the entries of one picture file to the table.
void readPicFile(SpamData& data, QStringView fileName) {
    const QByteArray content = readDataFile(data.folder.dataFile(fileName));
    RecordFields<kFieldCount> fields;
    forEachLine(content, [&](QByteArrayView line, int number) {
        if (!fields.split(line))
            return true;
        yieldToHost();
        data.PicTable.append(parseAtLine(fileName, number, [&] { return parseEntry(fields); }));
        return true;
    });
}

} // namespace

void ReadPicTable(SpamData& data) {
    data.PicTable.reset();
    try {
        const QString defaultPath = data.folder.dataFile(kDefaultPicDataFile);
        // Both lengths are taken even without a default file: a missing user
        // file is an error either way.
        const std::int64_t userLength = fileLength(data.folder.dataFile(kPicDataFile));
        bool usedDefault = false;
        if (FileExists(defaultPath) && userLength < fileLength(defaultPath)) {
            readPicFile(data, kDefaultPicDataFile);
            showMessage(QStringLiteral(
                "Your spam database was updated successfully with default spam database"));
            usedDefault = true;
        }
        readPicFile(data, kPicDataFile);
        dataFileLoads::noteComplete(data.folder.dataFile(kPicDataFile));
        if (usedDefault)
            WritePicTable(data);
    } catch (const VbError& error) {
        const QString message = QStringLiteral("ReadPicTable_error: ") + error.description();
        dataFileLoads::noteIncomplete(data.folder.dataFile(kPicDataFile),
                                      loadFailureCause(message));
        showMessage(message);
    }
}

void WritePicTable(SpamData& data) {
    try {
        DataFileWriter writer(data.folder.dataFile(kPicDataFile));
        writer.open();
        QByteArray content;
        const int upperBound = data.PicTable.upperBound();
        content.reserve(qsizetype(upperBound) * 160);
        for (int i = 1; i <= upperBound; ++i) {
            // The table may change while the host runs its events below.
            if (i <= data.PicTable.upperBound() && !data.PicTable[i].Sender.isEmpty())
                appendEntryLine(content, data.PicTable[i]);
            yieldToHost();
        }
        writer.commit(content);
    } catch (const VbError& error) {
        showMessage(QStringLiteral("WritePicTable_error: ") + error.description());
    }
}

} // namespace velmora
