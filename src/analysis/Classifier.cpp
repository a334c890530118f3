#include "analysis/Classifier.h"

#include "analysis/Learning.h"
#include "analysis/MailText.h"
#include "analysis/PictureAttachment.h"
#include "analysis/PictureFingerprint.h"
#include "analysis/PictureLoading.h"
#include "analysis/PictureSimilarity.h"
#include "analysis/PromptWait.h"
#include "analysis/SubjectTags.h"
#include "analysis/TextFeatures.h"
#include "analysis/TextNormalisation.h"
#include "analysis/TextSimilarity.h"
#include "analysis/TrustedAddresses.h"
#include "base/VbError.h"
#include "base/VbString.h"
#include "store/FileHelpers.h"

#include <optional>

namespace velmora {
namespace {

// Classification looks at no more text than this.
constexpr qsizetype kMaxClassifiedText = 80000;
// Below the level, a best picture score above this still marks the mail.
constexpr float kPictureSuspicion = 50;

void tagWithScore(MailItemView& item, float score) {
    item.setSubject(withScoreTag(item.subject(), score));
    item.save();
}

// Step of the picture stage: a verdict, or nullopt to go on with the text.
std::optional<Bool16> judgePicture(FilterState& state, MailItemView& item, const QString& sender) {
    PictureBox& box = state.toolBox.pictureBox();
    state.toolBox.setStatusText(QString());
    box.clearPicture();
    box.setHeight(box.width());

    const QString path = savedPicturePath(state);
    const qint64 length = fileLength(path);
    if (length < kMinPictureBytes || length > kMaxPictureBytes)
        return std::nullopt; // the saved file stays until a picture of its name is saved again

    PicRec rec = AnalysePicture(box, loadSavedAttachment(path));
    rec.Sender = sender;
    rec.Subject = pictureRecordSubject(item.subject());
    DeleteFile(path);

    const PicRecords& table = state.data.PicTable;
    float best = 0;
    for (int i = 1; i <= table.upperBound(); ++i) {
        const float score = comparepics(table[i], rec);
        if (score > best)
            best = score;
        if (best >= state.thresholds.LevelP) {
            // The first entry at which the best score reaches the level decides.
            if (table[i].Flag == kFalse)
                return kFalse;
            tagWithScore(item, best);
            rec.Flag = kTrue;
            AddPicEmail(state.data, rec);
            return kTrue;
        }
    }
    if (best > kPictureSuspicion)
        tagWithScore(item, best);
    return kFalse;
}

QString firstRestrictedWordIn(const StringList& words, const QString& text) {
    for (const QString& entry : words) {
        const QString word = vbLCase(vbTrim(entry));
        if (!word.isEmpty() && text.contains(word))
            return word;
    }
    return {};
}

Bool16 judgeText(FilterState& state, MailItemView& item, const QString& sender) {
    if (state.toolBox.textAnalysisSwitchedOff())
        return kFalse;
    QString text = chooseMailText(item);
    if (text.size() > kMaxClassifiedText)
        return kFalse;

    const TxtRecords& table = state.data.TxtTable;
    if (text.size() > 10) {
        // A sender already learnt decides at once, and nothing more is learnt.
        if (const int known = table.firstIndexOfSender(sender)) {
            if (table[known].Flag == kFalse)
                return kFalse;
            tagWithScore(item, 100);
            return kTrue;
        }
    }

    text = ToLower(text);
    if (!firstRestrictedWordIn(state.data.RestrictedList, text).isEmpty()) {
        item.setSubject(withRestrictedTag(item.subject()));
        item.save();
        LearnEmail(state, item, kTrue);
        return kTrue;
    }

    state.toolBox.pictureBox().setHeight(0);
    const QString status = textAnalysisStatus(item.senderEmailAddress());
    state.toolBox.setStatusText(status);
    TxtRec rec = AnalyseText(text);
    rec.Sender = sender;
    rec.Subject = textRecordSubject(item.subject());
    if (state.picture.PictureAttachmentSaved != kFalse)
        rec.Attachment = vbLCase(state.picture.attachment->fileName());

    float best = 0;
    TxtTableScan scan(table, rec);
    for (int i = 1; i <= table.upperBound(); ++i) {
        const float score = scan.score(i);
        // The label shows the best score so far; it only changes with it.
        if (score > best || i == 1) {
            best = qMax(best, score);
            state.toolBox.setStatusText(status + QStringLiteral("\n\r") +
                                        QString::number(double(best), 'g', 7));
        }
        if (best >= state.thresholds.LevelT) {
            if (table[i].Flag == kFalse)
                return kFalse;
            tagWithScore(item, best);
            rec.Flag = kTrue;
            AddTxtEmail(state.data, rec);
            return kTrue;
        }
    }
    return kFalse;
}

} // namespace

Bool16 AnalyseEmail(FilterState& state, MailItemView& item) {
    try {
        // Held for the duration of the call, as the host expects of a client.
        const std::shared_ptr<HostNamespace> mapi =
            state.application ? state.application->GetNamespace(QStringLiteral("MAPI")) : nullptr;

        if (state.flags.DatabaseBuilding != kFalse)
            return kFalse;
        if (state.data.DatabaseMissing != kFalse) {
            if (askToBuildDatabase(state.flags, state.prompts)) {
                state.data.DatabaseMissing = kFalse;
                state.services.showToolWindow();
                state.services.buildDatabase();
            }
            return kFalse;
        }
        if (state.data.TrustedList.isEmpty() || state.data.PicTable.isEmpty() ||
            state.data.TxtTable.isEmpty())
            return kFalse;

        const QString sender = vbLCase(item.senderEmailAddress());
        if (SearchinTrust(state.data.TrustedList, sender) >= 1)
            return kFalse;
        if (sender.contains(QStringLiteral("mailer-daemon@")))
            return kFalse;

        if (CheckPictureAttachment(state, item)) {
            if (const std::optional<Bool16> verdict = judgePicture(state, item, sender))
                return *verdict;
        }
        return judgeText(state, item, sender);
    } catch (const VbError&) {
        return kFalse;
    }
}

} // namespace velmora
