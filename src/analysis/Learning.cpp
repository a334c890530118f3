#include "analysis/Learning.h"

#include "analysis/MailText.h"
#include "analysis/PictureAttachment.h"
#include "analysis/PictureFingerprint.h"
#include "analysis/PictureLoading.h"
#include "analysis/SortedInsertScan.h"
#include "analysis/TextFeatures.h"
#include "analysis/TextNormalisation.h"
#include "base/MessageSink.h"
#include "base/VbString.h"
#include "store/FileHelpers.h"

namespace velmora {
namespace {

// Learning keeps ten times more text than classification looks at.
constexpr qsizetype kMaxLearntText = 800000;

const QString kDeliveryFailureSender = QStringLiteral("mailer-daemon@");

// Inserts `record` into `table` at its sender's place, or re-flags its
// duplicate; `isDuplicate(entry)` compares what besides the sender must match.
template <typename Table, typename Record, typename IsDuplicate>
void insertBySender(Table& table, Bool16& changed, const Record& record, IsDuplicate isDuplicate) {
    if (record.Sender.contains(kDeliveryFailureSender))
        return;
    if (table.isEmpty()) {
        table.append(record);
        changed = kTrue;
        return;
    }
    const int place = findInsertPlace(
        vbLCase(record.Sender), [&] { return table.upperBound(); },
        [&](int i) -> const QString& { return std::as_const(table)[i].Sender; },
        [&](int i) {
            auto& entry = table[i];
            if (entry.Sender != record.Sender || !isDuplicate(entry))
                return FullMatch::NextEntry;
            entry.Flag = record.Flag;
            changed = kTrue;
            return FullMatch::Stop;
        });
    if (place == 0)
        return;
    table.insertAt(place, record);
    changed = kTrue;
}

void clearPictureArea(ToolWindowView& toolBox) {
    toolBox.setStatusText(QString());
    PictureBox& box = toolBox.pictureBox();
    box.clearPicture();
    box.setHeight(box.width());
}

} // namespace

QString textAnalysisStatus(const QString& sender) {
    return QStringLiteral("ANALYSING ....\n\rTEXT EMAIL\n\r") + sender;
}

void AddPicEmail(SpamData& data, const PicRec& record) {
    try {
        insertBySender(data.PicTable, data.PicChanged, record, [&](const PicRec& entry) {
            return entry.Attachment == record.Attachment && entry.FileLength == record.FileLength;
        });
    } catch (const VbError& error) {
        showMessage(QStringLiteral("AddPicEmail: ") + error.description());
    }
}

void AddTxtEmail(SpamData& data, const TxtRec& record) {
    try {
        insertBySender(data.TxtTable, data.TxtChanged, record,
                       [&](const TxtRec& entry) { return entry.LineCount == record.LineCount; });
    } catch (const VbError& error) {
        showMessage(QStringLiteral("AddTxtEmail: ") + error.description() +
                    QStringLiteral("Max =") + QString::number(data.TxtTable.upperBound()));
    }
}

TxtRec learntTextRecord(FilterState& state, MailItemView& item) {
    QString text = chooseMailText(item);
    if (text.size() > kMaxLearntText)
        return TxtRec();
    text = ToLower(text);
    const QString sender = item.senderEmailAddress();
    state.toolBox.setStatusText(textAnalysisStatus(sender));
    TxtRec rec = AnalyseText(text);
    rec.Sender = vbLCase(sender);
    rec.Subject = textRecordSubject(item.subject());
    if (state.picture.PictureAttachmentSaved != kFalse)
        rec.Attachment = vbLCase(state.picture.attachment->fileName());
    return rec;
}

void LearnEmail(FilterState& state, MailItemView& item, std::int16_t isSpam) {
    if (state.data.DatabaseMissing != kFalse) {
        state.services.buildDatabase();
        return;
    }
    const Bool16 flag = toBool16(isSpam != 0);
    bool learnt = false;
    if (CheckPictureAttachment(state, item)) {
        clearPictureArea(state.toolBox);
        const QString path = savedPicturePath(state);
        const qint64 length = fileLength(path);
        if (length >= kMinPictureBytes && length <= kMaxPictureBytes) {
            PicRec rec = AnalysePicture(state.toolBox.pictureBox(), loadSavedAttachment(path));
            rec.FileLength = static_cast<std::int32_t>(length);
            rec.Attachment = state.picture.attachment->fileName();
            rec.Sender = vbLCase(item.senderEmailAddress());
            rec.Subject = pictureRecordSubject(item.subject());
            rec.Flag = flag;
            AddPicEmail(state.data, rec);
            DeleteFile(path);
            learnt = true;
        }
        // A picture of another size is learnt by the text; its file stays.
    }
    if (!learnt) {
        TxtRec rec = learntTextRecord(state, item);
        rec.Flag = flag;
        if (!rec.Sender.isEmpty())
            AddTxtEmail(state.data, rec);
    }
    clearPictureArea(state.toolBox);
}

} // namespace velmora
