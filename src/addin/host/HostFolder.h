#pragma once

#include "addin/host/EventSource.h"
#include "addin/host/MailItemView.h"

#include <QList>
#include <QString>

#include <memory>

namespace velmora {

// One walk over a folder's items with its own cursor, as one `Items` object of
// the mail client walks: two walks over the same folder (a sweep started from
// the window while another sweep yields) never disturb each other.
//
// The cursor is a position. When the current item, or any item before it,
// leaves the folder, the items after it slide down one place, so the item that
// followed a removed current item moves into the cursor's position and the
// next GetNext() passes over it. The sweeps rely on this ("the user can run
// the sweep again"). Items that arrive are appended at the end.
class ItemWalk {
public:
    virtual ~ItemWalk() = default;
    // Starts the walk; nullptr ("Nothing") when the folder is empty.
    virtual MailItemRef GetFirst() = 0;
    // The next item; nullptr past the end, or before GetFirst().
    virtual MailItemRef GetNext() = 0;
};

// A folder's item collection, whose events the filter subscribes to.
//
// Contract, for every host:
// - There is one HostItems per folder, alive as long as the folder: the add-in
//   keeps a pointer to it and its subscriptions for the whole connection.
// - Events run on the thread of the Qt event loop, synchronously, in the
//   order of the move contract (see HostApplication.h). A handler may yield
//   to the event loop, and through it the host may raise further events and
//   be called back (re-entered) before the first event returns; hosts must
//   not hold locks or half-updated state across a raise.
// - Host failures reach the add-in only as VbError, never as another
//   exception and never as a null reference it did not ask for.
class HostItems {
public:
    virtual ~HostItems() = default;

    virtual int Count() const = 0;
    // Item `index`, counted from 1; throws VbError when out of range.
    virtual MailItemRef Item(int index) const = 0;
    // A new walk over the items, with a cursor of its own. The caller owns it;
    // it may outlive the walk's end but not the folder.
    virtual std::unique_ptr<ItemWalk> newWalk() = 0;

    // An item has arrived in the folder (delivered, moved or copied in).
    EventSource<const MailItemRef&> ItemAdd;
    // An item has left the folder; the host does not say which.
    EventSource<> ItemRemove;
};

inline constexpr int kFolderClass = 2;

// Default item types of folders (a folder's "class" of content).
enum class FolderItemType { Mail, Appointment, Contact, Task, Journal, Note };

// A mail folder of the host. Folders live as long as the host's store; the
// pointers the surface hands out stay valid for the life of the application.
class HostFolder {
public:
    virtual ~HostFolder() = default;

    virtual QString Name() const = 0;
    // The object's class: 2 for a folder.
    virtual int Class() const = 0;
    // The folder's permanent identifier.
    virtual QString EntryID() const = 0;
    virtual FolderItemType defaultItemType() const = 0;
    // The same object every time (see HostItems).
    virtual HostItems& Items() = 0;
    // Subfolders, in the host's order.
    virtual QList<std::shared_ptr<HostFolder>> Folders() const = 0;
};

using FolderRef = std::shared_ptr<HostFolder>;

} // namespace velmora
