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
    // The item with that identifier; throws VbError when there is none.
    virtual MailItemRef GetItemFromID(const QString& entryId) const = 0;
};

// A window of the mail client that shows a folder.
class HostExplorer {
public:
    virtual ~HostExplorer() = default;
    // The items selected in the window now.
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
class HostApplication {
public:
    virtual ~HostApplication() = default;
    // The namespace of that type; only "MAPI" is used.
    virtual std::shared_ptr<HostNamespace> GetNamespace(const QString& type) const = 0;
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
