#pragma once

#include <QByteArrayView>
#include <QString>

namespace velmora::maildir {

// The parts of a message file's name in a Maildir: "<unique>[,S=n][,W=m]
// [:2,<flags>]". The unique part names the message; the sizes and flags may
// change (a flag change renames the file, `new/` to `cur/` adds ":2,").
struct MaildirFileName {
    QString unique;       // up to the first "," or ":"
    QString base;         // everything before ":2," (the unique part and sizes)
    QString flags;        // after ":2,"; empty for a file in new/
    bool hasInfo = false; // ":2," present

    static MaildirFileName parse(const QString& fileName);
};

// A fresh unique part, as Maildir delivery agents make them: the time, the
// microseconds, the process and a counter, and the host's name (with "/" and
// ":" escaped as the convention asks).
QString newUniquePart();

// The name of a message file in cur/: the unique part with the message's
// sizes (",S=" its bytes, ",W=" its bytes with CR LF line ends, which IMAP
// servers use as the RFC 822 size) and its flags.
QString curFileName(const QString& unique, QByteArrayView content, const QString& flags);

// The EntryID of a message: its base name (no flags), with "%" and ","
// escaped, so identifiers can be joined with commas.
QString entryIdOf(const QString& fileName);

} // namespace velmora::maildir
