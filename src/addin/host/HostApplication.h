#pragma once

#include "addin/host/EventSource.h"
#include "addin/host/HostCommandBars.h"
#include "addin/host/HostFolder.h"
#include "addin/host/MailItemView.h"

#include <QList>
#include <QString>

#include <memory>

namespace velmora {

// Numbers of the default folders, as GetDefaultFolder takes them.
enum DefaultFolder : int {
    DefaultFolderDeleted = 3,
    DefaultFolderSent = 5,
    DefaultFolderInbox = 6,
    DefaultFolderJunk = 23,
};

// The host's "MAPI" namespace: its mail stores and their folders.
class HostNamespace {
public:
    virtual ~HostNamespace() = default;
    // The top-level folders, one per mail store.
    virtual QList<FolderRef> Folders() const = 0;
    // One of the default folders; throws VbError for an unknown number.
    virtual FolderRef GetDefaultFolder(int number) const = 0;
    // The item with that identifier, wherever it is now; throws VbError when
    // there is none. An EntryID is unique across all stores of the host, is
    // not empty and holds no comma (NewMailEx joins them with commas); it
    // stays the item's own through saves and moves.
    virtual MailItemRef GetItemFromID(const QString& entryId) const = 0;
};

// A window of the mail client that shows a folder.
class HostExplorer {
public:
    virtual ~HostExplorer() = default;
    // The items selected in the window now (during a BeforeMove: the items
    // being moved).
    virtual QList<MailItemRef> Selection() const = 0;
    virtual FolderRef currentFolder() const = 0;
    virtual std::shared_ptr<CommandBars> commandBars() const = 0;

    // The user is about to copy, cut, paste or move the selection. (The
    // filter never cancels these operations, so they carry no Cancel.)
    EventSource<> BeforeItemCopy;
    EventSource<> BeforeItemCut;
    EventSource<const FolderRef&> BeforeItemPaste; // the target folder
    EventSource<> BeforeMove;
};

// The mail client itself.
//
// The contract every host keeps, because what the filter learns depends on it:
//
// A move of items by the user (from any client, however the host learns of
// it) raises, in this order:
//   1. the active explorer's BeforeMove (or BeforeItemCut then
//      BeforeItemPaste), with the moved items as its Selection() while it runs;
//   2. for each item: ItemRemove on the source folder's Items, then ItemAdd on
//      the destination's, with the item.
// The order matters: the removal handlers read the remembered selection and
// the additions count it off, so an Inbox-to-Junk move raised as Add before
// Remove would be learnt as good mail. Items that arrive together count as one
// user action: one BeforeMove for all of them, then their events.
// A copy raises BeforeItemCopy, BeforeItemPaste(target) and ItemAdd on the
// target only; a deletion by the user is a move to Deleted Items that may
// come without any explorer event. A host that learns of deletions only
// after the fact (another client's) raises BeforeMove with nothing selected
// before them, so that no handler takes an earlier action's selection for
// the deleted items.
//
// The add-in's own MailItemView::move() raises the same folder events (no
// explorer event), synchronously, before it returns; a host that also learns
// of the move later (a file-system or server notification) suppresses that
// echo. MailItemView::save() raises no event and keeps the item's identity
// and EntryID.
//
// NewMailEx is raised for deliveries into the Inbox only, never for a move
// of the user's into it, after the items' ItemAdd.
//
// Events are raised on the thread that runs the Qt event loop (EventSource
// asserts it). Handlers yield to the loop, so a host is re-entered through
// its own events and calls while it raises one, and must tolerate that; it
// must not destroy a folder, an item or the add-in whose event is still
// running (the add-in may let go of the host meanwhile, which only drops its
// references).
// Host failures reach the add-in only as VbError. Handles (items, folders)
// keep working after their item has moved.
class HostApplication {
public:
    virtual ~HostApplication() = default;
    // The namespace of that type; only "MAPI" is used.
    virtual std::shared_ptr<HostNamespace> GetNamespace(const QString& type) const = 0;
    // The explorer window in front; nullptr when the client shows none.
    virtual std::shared_ptr<HostExplorer> ActiveExplorer() const = 0;
    virtual QList<std::shared_ptr<HostExplorer>> Explorers() const = 0;

    // A message is being sent (the filter never cancels the send).
    EventSource<const MailItemRef&> ItemSend;
    // New mail has arrived: the identifiers, separated by commas.
    EventSource<const QString&> NewMailEx;
    // The mail client is closing.
    EventSource<> Quit;
};

} // namespace velmora
