#pragma once

#include "addin/host/EventSource.h"
#include "addin/host/MailItemView.h"

#include <QList>
#include <QString>

#include <memory>

namespace velmora {

// A folder's item collection, whose events the filter subscribes to.
class HostItems {
public:
    virtual ~HostItems() = default;

    virtual int Count() const = 0;
    // Item `index`, counted from 1; throws VbError when out of range.
    virtual MailItemRef Item(int index) const = 0;
    // The collection's own cursor: GetFirst() starts it, GetNext() advances it;
    // both return nullptr ("Nothing") past the end. The cursor is a position,
    // so when the current item leaves the folder the one after it moves into
    // that position and the next GetNext() passes over it.
    virtual MailItemRef GetFirst() = 0;
    virtual MailItemRef GetNext() = 0;

    // An item has arrived in the folder.
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
    virtual HostItems& Items() = 0;
    // Subfolders, in the host's order.
    virtual QList<std::shared_ptr<HostFolder>> Folders() const = 0;
};

using FolderRef = std::shared_ptr<HostFolder>;

} // namespace velmora
