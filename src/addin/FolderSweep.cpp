// Sweeping a folder for spam: every mail of the folder is judged, and what is
// spam moves to the Junk folder. One pass; it may be run again.
#include "addin/Connect.h"

#include "addin/TableEdit.h"
#include "addin/host/HeldReference.h"

#include "analysis/Classifier.h"
#include "base/HostYield.h"
#include "base/MessageSink.h"
#include "base/Rounding.h"
#include "base/VbError.h"

#include <cmath>

namespace velmora {
// Walks the folder with its own cursor while spam is moved out of it, so an
// item that follows a moved one is passed over: intended, the user can sweep
// again. Host failures end the walk (VbError to the caller). The Inbox sweep
// counts in 32 bits, the folder sweep in 16 (an overflow there ends it with
// its message).
template <typename Counter>
void Connect::sweep(HostFolder& folder, bool showEachItem) {
    ToolWindowView& box = m_state.toolBox;
    HostItems& items = folder.Items();
    const double step = 100.0 / items.Count();
    Counter k = 1;
    const std::unique_ptr<ItemWalk> walk = items.newWalk();
    MailItemRef item = walk->GetFirst();
    while (item) {
        if (showEachItem)
            box.setStatusText(QStringLiteral("Sweeping the Inbox:\n\r") + item->subject());
        else
            box.setCounterText(QString::number(k));
        box.setProgress(int(std::floor(k * step)));
        m_windows.bringToolBoxToFront();
        if (isMailOrPost(*item) && AnalyseEmail(m_state, *item) != kFalse)
            item->move(held(JunkFolder));
        item = walk->GetNext();
        yieldToHost();
        if constexpr (sizeof(Counter) == 2)
            k = checkedInt16(k + 1);
        else
            ++k;
    }
}

void Connect::CLR_Click() {
    m_state.flags.SelfMoving = kTrue;
    Show();
    try {
        const FolderRef inbox = held(held(OutlookApp).GetNamespace(QStringLiteral("MAPI")))
                                    .GetDefaultFolder(DefaultFolderInbox);
        if (held(inbox).Items().Count() >= 1)
            sweep<std::int32_t>(*inbox, true);
    } catch (const VbError&) {
        return; // what changed is saved by the next batch
    }
    saveChangedTables(m_state.data);
    m_state.flags.SelfMoving = kFalse;
    m_state.toolBox.setStatusText(QString());
    m_state.toolBox.pictureBox().clearPicture();
    m_state.toolBox.setStatusText(QStringLiteral("Done"));
}

void Connect::move_spamb() {
    FolderRef folder;
    try {
        folder = held(held(OutlookApp).ActiveExplorer()).currentFolder();
        held(folder);
    } catch (const VbError& error) {
        showMessage(QStringLiteral("move_spamb_error: ") + error.description());
        return;
    }
    if (folder->Class() != kFolderClass) {
        showMessage(QStringLiteral("move_spamb_error: "));
        return;
    }
    // Intended: set before the checks below, which may end the sweep with it
    // still set; a later sweep or the next start clears it.
    m_state.flags.SelfMoving = kTrue;
    try {
        held(OutlookApp).GetNamespace(QStringLiteral("MAPI"));
        folder = held(held(OutlookApp).ActiveExplorer()).currentFolder();
        const QString id = held(folder).EntryID();
        if (IsRefusedFolderName(folder->Name()) || id == DeletedFolderID || id == SentFolderID ||
            id == JunkFolderID) {
            showMessage(QStringLiteral("Please select right folder"));
            return;
        }
        if (folder->Items().Count() < 1)
            return;
        sweep<std::int16_t>(*folder, false);
    } catch (const VbError& error) {
        showMessage(QStringLiteral("move_spamb_error: ") + error.description());
        return;
    }
    saveChangedTables(m_state.data);
    m_state.flags.SelfMoving = kFalse;
    m_state.toolBox.setStatusText(QString());
    m_state.toolBox.pictureBox().clearPicture();
    m_state.toolBox.setCounterText(QStringLiteral("Done"));
}

} // namespace velmora
