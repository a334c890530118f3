// Learning from what the user moves into and out of the Junk folder, out of
// the Inbox, and into Deleted Items.
#include "addin/Connect.h"

#include "addin/TableEdit.h"

#include "analysis/Learning.h"
#include "analysis/MailText.h"
#include "analysis/PictureAttachment.h"
#include "analysis/TrustedAddresses.h"
#include "base/HostYield.h"
#include "base/MessageSink.h"
#include "base/VbError.h"
#include "base/VbString.h"
#include "store/FileHelpers.h"
#include "store/ListFile.h"
#include "store/PicTableFile.h"
#include "store/TxtTableFile.h"

namespace velmora {
namespace {

// The line count a text record of this body was learnt with: the upper bound
// of the body split at the line break (-1 for an empty body).
int bodyLineBound(const MailItemView& item) {
    return int(vbSplit(item.body(), kLineBreak).size()) - 1;
}

// The subject is written only when a tag came off (on a remote host every
// subject write is a new message); "Save" is called in every case.
void cleanSubject(MailItemView& item) {
    const QString subject = item.subject();
    const QString cleaned = subjectWithoutTags(subject);
    if (cleaned != subject)
        item.setSubject(cleaned);
    item.save();
}

} // namespace

void Connect::batchedSave(bool includeTrusted) {
    SpamData& data = m_state.data;
    --SelectionCount;
    if (SelectionCount != 0)
        return;
    saveChangedTables(data);
    if (includeTrusted && data.TrustChanged != kFalse)
        WriteARRAY(data.TrustedList, data.folder.dataFile(kTrustedFile));
    data.TrustChanged = kFalse;
}

bool Connect::itemAddHandlerGoesOn() {
    if (m_state.flags.SelfMoving != kFalse)
        return false; // the add-in's own move: nothing to learn
    if (!databasePromptLetsHandlerGoOn())
        return false;
    m_state.data.TxtChanged = kFalse;
    m_state.data.PicChanged = kFalse;
    return true;
}

void Connect::junkemail_ItemAdd(const MailItemRef& item) {
    try {
        if (!itemAddHandlerGoesOn())
            return;
        SpamData& data = m_state.data;
        data.TrustChanged = kFalse;
        if (isMailOrPost(*item)) {
            const int p = SearchinTrust(data.TrustedList, vbLCase(item->senderEmailAddress()));
            if (p >= 1) {
                removeSlot(data.TrustedList, p, true);
                data.TrustChanged = kTrue;
            }
            LearnEmail(m_state, *item, kTrue);
        }
        batchedSave(true);
    } catch (const VbError& error) {
        showMessage(QStringLiteral("Junkadd_error: ") + error.description());
    }
}

bool Connect::handleRemovedSelection(const std::function<void(MailItemView&)>& handle) {
    SpamData& data = m_state.data;
    data.TxtChanged = kFalse;
    data.PicChanged = kFalse;
    if (!ActiveSelection)
        return false;
    if (!databasePromptLetsHandlerGoOn())
        return false;
    // A copy: events run while the items are handled may replace the
    // remembered selection.
    const QList<MailItemRef> selection = *ActiveSelection;
    for (const MailItemRef& item : selection) {
        if (!isMailOrPost(*item))
            continue;
        cleanSubject(*item);
        handle(*item);
    }
    ActiveSelection.reset();
    return true;
}

void Connect::junkemail_ItemRemove() {
    try {
        SpamData& data = m_state.data;
        const bool handled = handleRemovedSelection([&](MailItemView& item) {
            const QString sender = item.senderEmailAddress();
            AddMailAddr(data.TrustedList, vbLCase(sender));
            const bool picture = CheckPictureAttachment(m_state, item);
            // Intended: the senders are compared as received, though records
            // hold them in lower case, so capitals find nothing.
            if (!picture && !data.TxtTable.isEmpty()) {
                const int lines = bodyLineBound(item);
                for (int i = 1; i <= data.TxtTable.upperBound(); ++i) {
                    const TxtRec& rec = std::as_const(data.TxtTable)[i];
                    if (rec.LineCount == lines && rec.Sender == sender) {
                        data.TxtTable[i].Flag = kFalse;
                        data.TxtChanged = kTrue;
                        break;
                    }
                    yieldToHost();
                }
            }
            if (picture && !data.PicTable.isEmpty()) {
                const QString name = m_state.picture.attachment->displayName();
                for (int i = 1; i <= data.PicTable.upperBound(); ++i) {
                    PicRec& rec = data.PicTable[i];
                    if (rec.Attachment == name && rec.Sender == sender) {
                        rec.Flag = kFalse;
                        data.PicChanged = kTrue;
                        break;
                    }
                    yieldToHost();
                }
                DeleteFile(data.folder.attachmentFile(m_state.picture.attachment->fileName()));
            }
        });
        if (!handled)
            return;
        WriteARRAY(data.TrustedList, data.folder.dataFile(kTrustedFile));
        saveChangedTables(data);
    } catch (const VbError& error) {
        showMessage(QStringLiteral("Junkremove_error: ") + error.description());
    }
}

void Connect::inboxemail_ItemRemove() {
    try {
        if (handleRemovedSelection([&](MailItemView& item) { LearnEmail(m_state, item, kFalse); }))
            saveChangedTables(m_state.data); // the trusted list is not written here
    } catch (const VbError& error) {
        showMessage(QStringLiteral("Inboxemail_error: ") + error.description());
    }
}

void Connect::deletedemail_ItemAdd(const MailItemRef& item) {
    try {
        if (!itemAddHandlerGoesOn())
            return;
        SpamData& data = m_state.data;
        if (isMailOrPost(*item)) {
            // Intended: always the normalised subject, which text records
            // (keeping the raw one) match only when it has nothing to strip.
            const QString key = pictureRecordSubject(item->subject());
            const QString sender = item->senderEmailAddress();
            if (item->attachmentCount() == 0 && !data.TxtTable.isEmpty()) {
                const int lines = bodyLineBound(*item);
                for (int i = 1; i <= data.TxtTable.upperBound(); ++i) {
                    const TxtRec& rec = std::as_const(data.TxtTable)[i];
                    if (rec.Sender == sender && rec.Subject == key && rec.LineCount == lines) {
                        // Intended: not marked as changed, so the shorter table
                        // reaches the file with the next write by any path.
                        removeSlot(data.TxtTable, i, true);
                        break;
                    }
                }
            }
            if (item->attachmentCount() != 0 && !data.PicTable.isEmpty()) {
                const QString name = item->attachment(1)->fileName();
                for (int i = 1; i <= data.PicTable.upperBound(); ++i) {
                    const PicRec& rec = data.PicTable[i];
                    if (rec.Sender == sender && rec.Subject == key && rec.Attachment == name) {
                        removeSlot(data.PicTable, i, true);
                        data.PicChanged = kTrue;
                        break;
                    }
                }
            }
        }
        batchedSave(false);
    } catch (const VbError& error) {
        showMessage(QStringLiteral("Deleteemail_error: ") + error.description());
    }
}

} // namespace velmora
