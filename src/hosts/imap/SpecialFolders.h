#pragma once

#include "hosts/imap/ImapData.h"

#include <QList>
#include <QString>

namespace velmora::imap {

// The folders the filter works with, by their server names (empty when the
// mailbox has none).
struct SpecialFolders {
    QString junk;
    QString sent;
    QString trash;
};

// Finds Junk, Sent and Trash among the folders of a LIST: by their
// special-use attribute where the server marks them (\Junk, \Sent, \Trash),
// else by the names mail clients give them ("Spam", "Sent Items",
// "Deleted Messages"…), compared without case on the last part of the name.
// Folders that cannot be selected are never chosen; a top-level folder or one
// right below INBOX wins over one deeper down.
SpecialFolders findSpecialFolders(const QList<MailboxEntry>& folders);

} // namespace velmora::imap
