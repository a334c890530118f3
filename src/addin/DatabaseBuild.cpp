// Building the database from the mail the user already has: the recipients of
// sent mail become trusted, the Junk folder is learnt as spam (settling each
// sender that is trusted too), and the user's own folders as good mail.
#include "addin/Connect.h"

#include "addin/TableEdit.h"
#include "addin/host/HeldReference.h"
#include "analysis/Learning.h"
#include "analysis/PromptWait.h"
#include "analysis/TrustedAddresses.h"
#include "base/HostYield.h"
#include "base/VbError.h"
#include "base/VbString.h"
#include "store/ListFile.h"
#include "store/PicTableFile.h"
#include "store/TxtTableFile.h"

#include <cmath>
#include <functional>

namespace velmora {
namespace {

// Host errors inside the build are passed over: the item is simply skipped.
void ignoringHostErrors(const std::function<void()>& step) {
    try {
        step();
    } catch (const VbError&) {
    }
}

// A folder's item count; 0 when the host cannot say (or the add-in has let
// go of the folder meanwhile).
int itemCountOf(const FolderRef& folder) {
    try {
        return held(folder).Items().Count();
    } catch (const VbError&) {
        return 0;
    }
}

double progressStep(int itemCount) {
    return itemCount < 1 ? 100.0 : 100.0 / itemCount;
}

int progressAt(int k, double step) {
    return int(std::floor(k * step));
}

// Deletes every record of `sender`. Kept as it always was: the position a
// deletion has just filled is not looked at again, so of two neighbouring
// records of the sender the second stays.
template <typename Table>
void deleteRecordsOf(Table& table, const QString& sender) {
    const int upperBound = table.upperBound();
    for (int i = 1; i <= upperBound; ++i) {
        yieldToHost();
        if (i <= table.upperBound() && table[i].Sender == sender)
            removeSlot(table, i, false);
    }
}

} // namespace

QString folderCountStatus(const QString& name, std::int16_t count) {
    const QString number = QString::number(count);
    if (name.size() + number.size() < 20)
        return name + QLatin1Char(' ') + number;
    const qsizetype start = name.size() - 19 + number.size(); // 1-based
    return name.mid(start - 1, 19 - number.size()) + QLatin1Char(' ') + number;
}

void Connect::collect_emails() {
    FilterFlags& flags = m_state.flags;
    SpamData& data = m_state.data;
    ToolWindowView& box = m_state.toolBox;
    const auto stopped = [&] {
        if (flags.StopBuild == kFalse)
            return false;
        m_windows.hideToolBox();
        flags.DatabaseBuilding = kTrue;
        return true;
    };
    const auto count = [&] {
        if (m_itemCounter < 32767) // beyond that the counter overflows, which is ignored
            ++m_itemCounter;
        box.setCounterText(QString::number(m_itemCounter));
    };

    try {
        flags.StopBuild = kFalse;
        data.TrustedList.reset();
        data.DatabaseMissing = kFalse;

        // Sent stage: everyone the user wrote to is trusted. Without a mail
        // client (released meanwhile) the build ends here, without a word.
        held(SentFolder);
        const int sentCount = itemCountOf(SentFolder);
        if (sentCount >= 1) {
            box.pictureBox().clearPicture();
            box.setStatusText(QStringLiteral("ANALYSING ....\n\rSENT FOLDER"));
            m_itemCounter = 0;
            const double step = progressStep(sentCount);
            for (int k = 1; k <= sentCount; ++k) {
                if (stopped())
                    return;
                yieldToHost();
                ignoringHostErrors([&] {
                    const MailItemRef item = held(SentFolder).Items().Item(k);
                    if (item->itemClass() != kMailItemClass)
                        return;
                    box.setProgress(progressAt(k, step));
                    for (const QString& address : item->Recipients()) {
                        count();
                        AddMailAddr(data.TrustedList, address);
                    }
                });
            }
            box.setStatusText(QString());
            box.pictureBox().clearPicture();
            WriteARRAY(data.TrustedList, data.folder.dataFile(kTrustedFile));
        }
        data.TrustChanged = kFalse;

        // Junk stage: every message there is spam.
        const int junkCount = itemCountOf(JunkFolder);
        if (junkCount >= 1) {
            // Walks the Junk folder's mail and post items, with the progress
            // bar; false when the build was stopped.
            const auto walkJunk = [&](int itemCount,
                                      const std::function<void(MailItemView&)>& handle) {
                m_itemCounter = 0;
                const double step = progressStep(itemCount);
                for (int k = 1; k <= itemCount; ++k) {
                    if (stopped())
                        return false;
                    yieldToHost();
                    ignoringHostErrors([&] {
                        const MailItemRef item = held(JunkFolder).Items().Item(k);
                        if (!isMailOrPost(*item))
                            return;
                        box.setProgress(progressAt(k, step));
                        handle(*item);
                        count();
                    });
                }
                return true;
            };
            if (!walkJunk(junkCount, [&](MailItemView& item) { LearnEmail(m_state, item, kTrue); }))
                return;
            // Conflicts: a sender both in Junk and trusted is settled by the user.
            const bool finished = walkJunk(itemCountOf(JunkFolder), [&](MailItemView& item) {
                const QString sender = vbLCase(item.senderEmailAddress());
                const int p = SearchinTrust(data.TrustedList, sender);
                if (p <= 0)
                    return;
                askAboutAddressConflict(flags, m_state.prompts, sender);
                if (flags.PromptClosed != kFalse) {
                    removeSlot(data.TrustedList, p, false);
                    data.TrustChanged = kTrue;
                }
                if (flags.PromptAccepted != kFalse)
                    trustSenderFromJunk(sender);
            });
            if (!finished)
                return;
        }
        if (data.TrustChanged != kFalse)
            WriteARRAY(data.TrustedList, data.folder.dataFile(kTrustedFile));

        // Folder stage: the user's own folders are good mail.
        m_itemCounter = 0;
        QList<FolderRef> stores;
        ignoringHostErrors([&] { stores = held(MapiNamespace).Folders(); }); // as they are now
        for (const FolderRef& store : stores) {
            QList<FolderRef> folders;
            ignoringHostErrors([&] {
                const QString storeName = store->Name();
                if (storeName == QStringLiteral("Archive Folders") ||
                    IsSkippedFolderName(storeName))
                    return;
                m_windows.bringToolBoxToFront();
                folders = store->Folders();
            });
            for (const FolderRef& folder : folders) {
                QList<FolderRef> toLearn;
                ignoringHostErrors([&] {
                    const QString id = folder->EntryID();
                    if (IsSkippedFolderName(folder->Name()) || id == DeletedFolderID ||
                        id == InboxFolderID || id == SentFolderID || id == JunkFolderID)
                        return;
                    // Only the folders one level down from a folder that has
                    // some; its own items and deeper folders are not learnt.
                    toLearn = folder->Folders();
                    if (toLearn.isEmpty())
                        toLearn = {folder};
                });
                for (const FolderRef& learnt : toLearn)
                    LearnFolder(*learnt);
            }
        }
    } catch (const VbError&) {
        // A failure before the stages ends the build without a word.
        return;
    }

    box.setStatusText(QString());
    box.pictureBox().clearPicture();
    box.setCounterText(QStringLiteral("Done"));
    WritePicTable(data);
    WriteTxtTable(data);
}

void Connect::trustSenderFromJunk(const QString& sender) {
    SpamData& data = m_state.data;
    ToolWindowView& box = m_state.toolBox;
    m_state.flags.SelfMoving = kTrue;
    deleteRecordsOf(data.PicTable, sender);
    deleteRecordsOf(data.TxtTable, sender);
    box.setProgress(0);
    box.setStatusText(QStringLiteral("REMOVIG EMAILS\n\rFROM JUNK..."));
    const int junkCount = itemCountOf(JunkFolder);
    const double step = progressStep(junkCount);
    // Kept as it always was: a move shifts the later items down, so the item
    // after a moved one waits for the next build.
    for (int j = 1; j <= junkCount; ++j) {
        box.setCounterText(QString::number(j));
        box.setProgress(progressAt(j, step));
        yieldToHost();
        ignoringHostErrors([&] {
            const MailItemRef item = held(JunkFolder).Items().Item(j);
            if (isMailOrPost(*item) && vbLCase(item->senderEmailAddress()) == sender)
                item->move(held(InboxFolder));
        });
    }
    box.setStatusText(QString());
    box.pictureBox().clearPicture();
    m_state.flags.SelfMoving = kFalse;
}

void Connect::LearnFolder(HostFolder& folder) {
    ToolWindowView& box = m_state.toolBox;
    int itemCount = 0;
    try {
        itemCount = folder.Items().Count();
    } catch (const VbError&) {
    }
    if (itemCount < 1)
        return;
    const double step = progressStep(itemCount);
    for (int k = 1; k <= itemCount; ++k) {
        if (m_state.flags.StopBuild != kFalse) {
            m_windows.hideToolBox();
            m_state.flags.DatabaseBuilding = kTrue;
            return;
        }
        yieldToHost();
        ignoringHostErrors([&] {
            const MailItemRef item = folder.Items().Item(k);
            if (!isMailOrPost(*item))
                return;
            box.setProgress(progressAt(k, step));
            LearnEmail(m_state, *item, kFalse);
            if (m_itemCounter < 32767)
                ++m_itemCounter;
            box.setCounterText(folderCountStatus(folder.Name(), m_itemCounter));
        });
    }
}

} // namespace velmora
