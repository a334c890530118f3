#pragma once

#include "support/TestSupport.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <functional>

namespace velmora::test {

// A raw message with CR LF line ends.
QByteArray rawMail(const QString& from, const QString& subject, const QString& body,
                   const QByteArray& moreHeaders = {});

// A Maildir++ tree in a temporary folder: the Inbox at its root, and Junk,
// Sent, Trash and Work.Projects beside it. Files are put in place the way
// delivery agents and IMAP servers do it, so the watcher sees what it would
// see from them.
struct MaildirTree {
    MaildirTree();

    TempFolder home;
    QString root = home.file(QStringLiteral("Maildir"));

    // The directory of a folder by its Maildir++ name ("" for the Inbox).
    QString folder(const QString& path) const;
    // Delivers `raw` into the folder's new/ (tmp/ first, then a rename), as a
    // delivery agent does. Returns the file's path.
    QString deliver(const QString& path, const QByteArray& raw);
    // Puts `raw` straight into the folder's cur/ with flags (as an APPEND).
    QString place(const QString& path, const QByteArray& raw, const QString& flags = {});
    // Moves message files into another folder as an IMAP server does: a hard
    // link of each into the destination (through tmp/), then every source
    // removed. Returns the new paths.
    QStringList serverMove(const QStringList& files, const QString& toPath);
    // Every message file of a folder (cur/ and new/).
    QStringList files(const QString& path) const;
    // Reads a file whole.
    static QByteArray read(const QString& file);
};

// Runs the event loop until `done` holds or a few seconds have passed.
bool waitUntil(const std::function<bool()>& done);

} // namespace velmora::test
