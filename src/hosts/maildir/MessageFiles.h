#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <functional>

namespace velmora::maildir {

// The few file operations the Maildir host makes on messages, each written so
// that no failure and no crash at any instant loses a message: a message file
// is never edited in place (IMAP servers cache them as immutable), only
// written anew or renamed.
//
// Every failure throws VbError naming the file and the system's reason.

// Told the path a file is about to be renamed to, just before the rename, so
// that the host can recognise the rename when it is reported back.
using BeforeRename = std::function<void(const QString& target)>;

// Reads a message file whole.
QByteArray readMessageFile(const QString& path);

// Writes `content` as a new message of the folder at `folder` (the folder's
// own directory, holding cur/, new/ and tmp/): into tmp/ first, flushed to
// disk, then renamed into cur/ under a fresh unique name with its sizes and
// `flags`, and the directory flushed. Returns the new file's path. On failure
// nothing is left in tmp/. A message written to replace the file `replacing`
// takes its modification time and permissions.
QString writeNewMessage(const QString& folder, QByteArrayView content, const QString& flags,
                        const BeforeRename& beforeRename = {}, const QString& replacing = {});

// Moves a message file into cur/ of the folder at `destination` by a rename
// (atomic on one file system): the message is in one place or the other at
// every instant. The name keeps its unique part and flags (":2," is added to
// a name from new/). Returns the new path.
QString moveMessageFile(const QString& path, const QString& destination,
                        const BeforeRename& beforeRename = {});

// Removes a message file (after its replacement is safely in place). False
// when there was no such file (another client renamed it meanwhile).
bool removeMessageFile(const QString& path);

} // namespace velmora::maildir
