#pragma once

#include "addin/host/MailItemView.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>
#include <QStringList>

namespace velmora::mime {

// Item classes and type names of what is not a plain mail message.
inline constexpr int kReportItemClass = 46;         // a delivery report
inline constexpr int kMeetingRequestItemClass = 53; // a calendar invitation

struct Attachment {
    QString fileName;    // as the sender named it
    QString displayName; // what a mail client shows: the file name, or the part's name
    QByteArray bytes;    // decoded from its transfer encoding

    bool operator==(const Attachment&) const = default;
};

// What the filter reads of one raw message (RFC 5322, MIME). Text is decoded
// to Unicode from its charset and transfer encoding, with CR LF line breaks.
struct Message {
    int itemClass = kMailItemClass;
    QString typeName = QStringLiteral("MailItem");
    QString sender;         // the From address, case as received; empty without one
    QString subject;        // RFC 2047 words decoded
    QString body;           // the plain text; rendered from the HTML when there is none
    QString htmlBody;       // empty for plain mail
    QStringList recipients; // To, Cc and Bcc addresses, in that order
    QList<Attachment> attachments;
    QString messageId;

    bool operator==(const Message&) const = default;
};

// Reads a raw message. It never fails: a truncated message, a broken MIME
// structure, an unknown charset or a broken encoding give what can be read.
Message parseMessage(QByteArrayView raw);
// The same, always through the MIME parser and with every header field
// handed to it; parseMessage() reads simple messages without it, and leaves
// out the fields added in transport, which change nothing it reads.
Message parseMessageAsIs(QByteArrayView raw);

// The raw message with its Subject replaced by `subject` (RFC 2047 encoded
// where it is not plain ASCII), or added when it had none. Every other byte
// stays as it was, line ends included.
QByteArray withSubject(QByteArrayView raw, const QString& subject);

// A plain-text rendering of an HTML body, as mail clients give for mail
// that has no plain part: tags dropped, breaks and paragraphs as CR LF, the
// common entities decoded.
QString htmlToText(const QString& html);

} // namespace velmora::mime
