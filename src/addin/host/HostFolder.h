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

    virtual int count() const = 0;
    // Item `index`, counted from 1; throws VbError when out of range.
    virtual MailItemRef item(int index) const = 0;
    // The collection's own cursor: getFirst() starts it, getNext() advances it;
    // both return nullptr ("Nothing") past the end. The cursor is a position,
    // so when the current item leaves the folder the one after it moves into
    // that position and the next getNext() passes over it.
    virtual MailItemRef getFirst() = 0;
    virtual MailItemRef getNext() = 0;

    // An item has arrived in the folder.
    EventSource<const MailItemRef&> ItemAdd;
    // An item has left the folder; the host does not say which.
    EventSource<> ItemRemove;
};

// Default item types of folders (a folder's "class" of content).
enum class FolderItemType { Mail, Appointment, Contact, Task, Journal, Note };

// A mail folder of the host. Folders live as long as the host's store; the
// pointers the surface hands out stay valid for the life of the application.
class HostFolder {
public:
    virtual ~HostFolder() = default;

    virtual QString name() const = 0;
    // The folder's permanent identifier.
    virtual QString entryId() const = 0;
    virtual FolderItemType defaultItemType() const = 0;
    virtual HostItems& items() = 0;
    // Subfolders, in the host's order.
    virtual QList<std::shared_ptr<HostFolder>> folders() const = 0;
};

using FolderRef = std::shared_ptr<HostFolder>;

} // namespace velmora
