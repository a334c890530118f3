#pragma once

#include <QByteArray>
#include <QString>
#include <QTextStream>

namespace velmora {

struct DemoMessage;

// A demo message as a real one: RFC 5322 headers, a plain-text body in UTF-8
// and its picture, if any, as a base64 attachment.
QByteArray rawMessageOf(const DemoMessage& message);

// Fills a fresh Maildir++ tree at `root` with the bundled demo mail: "sent"
// in Sent, "learn/spam" in Junk and "learn/good" in Friends, each message
// written through tmp/ as a delivery agent writes it. Returns how many
// messages went into Junk and Friends.
struct DemoMaildirCounts {
    int spam = 0;
    int good = 0;
};
DemoMaildirCounts writeDemoMaildir(const QString& demoDir, const QString& root, QTextStream& err);

// Delivers one message into the Maildir folder at `folder` as a delivery agent
// does: written in tmp/, then renamed into new/. Returns the new file's path,
// or "" when it cannot be written.
QString deliverInto(const QString& folder, const QByteArray& raw);

// Moves a message file into another folder as an IMAP server moves it: a hard
// link in the destination first, then the source removed. Returns the new
// path, or "" when it cannot.
QString moveAsAServerDoes(const QString& file, const QString& toFolder);

} // namespace velmora
