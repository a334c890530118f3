#pragma once

#include "hosts/imap/ImapData.h"

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

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

// Where each folder of a LIST is shown: the server name of the folder it is
// shown in, or empty for the top, beside the Inbox. Folders sit in their
// parent as the server nests them, except that:
//   - `atTop` (Junk, Sent and Trash as chosen) are shown at the top, as the
//     mail client's own folders are, even where the server keeps them in a
//     folder of their own (Gmail's "[Gmail]"); the database build passes
//     over these by identity only there;
//   - on a server that keeps every folder below the Inbox (Courier's
//     "INBOX.Archive") they are shown beside it, as the user's own folders
//     they are; elsewhere folders below the Inbox stay there.
QHash<QString, QString> folderParents(const QList<MailboxEntry>& folders, const QStringList& atTop);

} // namespace velmora::imap
