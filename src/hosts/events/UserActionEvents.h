#pragma once

#include "addin/host/HostApplication.h"
#include "addin/host/HostFolder.h"

#include <QList>

namespace velmora::events {

// Raises a user's action, seen only afterwards, as the host contract orders
// it. `Explorer` is the host's explorer, whose selection the host sets.
//
// The add-in's removal handlers work on the selection remembered at the last
// copy, cut, paste or move, and some actions leave it standing (a move from
// Archive into Junk, a copy into Junk). A deletion comes without a selection
// of its own, so before one the remembered selection is emptied with a
// BeforeMove over nothing: the handlers then learn nothing from the deleted
// items, as when the user presses Delete in the mail client, instead of
// learning an earlier action's items a second time. For the same reason an
// action whose selection no removal handler consumes (a copy, a delivery by
// the server into Junk, a move from Archive into Junk) is followed by a
// BeforeMove over nothing: the add-in's own next move out of the Inbox would
// otherwise learn that selection as good mail.
template <class Explorer>
class UserActionEvents {
public:
    explicit UserActionEvents(Explorer& explorer) : m_explorer(explorer) {}

    // Items moved together from `from` to `to` (either may be null when the
    // folder is gone). A move into `trash` is a deletion.
    void moved(const FolderRef& from, const FolderRef& to, const HostFolder* trash,
               const QList<MailItemRef>& items) {
        const bool deletion = to && to.get() == trash;
        m_explorer.setSelection(deletion ? QList<MailItemRef>() : items);
        m_explorer.BeforeMove.raise();
        for (const MailItemRef& item : items) {
            if (from)
                from->Items().ItemRemove.raise();
            if (to)
                to->Items().ItemAdd.raise(item);
        }
        forgetSelection();
    }

    // Items that left `folder` for good (deleted outright, or moved where
    // the host does not look): one ItemRemove each.
    void removed(HostFolder& folder, qsizetype count) {
        m_explorer.setSelection({});
        m_explorer.BeforeMove.raise();
        for (qsizetype i = 0; i < count; ++i)
            folder.Items().ItemRemove.raise();
    }

    // An item that came from nowhere into `folder`: a copy (or a server-side
    // filter's delivery).
    void copied(const FolderRef& folder, const MailItemRef& item) {
        m_explorer.setSelection({item});
        m_explorer.BeforeItemCopy.raise();
        m_explorer.BeforeItemPaste.raise(folder);
        folder->Items().ItemAdd.raise(item);
        forgetSelection();
    }

private:
    void forgetSelection() {
        m_explorer.setSelection({});
        m_explorer.BeforeMove.raise();
    }

    Explorer& m_explorer;
};

} // namespace velmora::events
