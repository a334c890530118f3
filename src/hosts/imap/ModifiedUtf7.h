#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

namespace velmora::imap {

// Mailbox names on the wire (RFC 3501 5.1.3): printable ASCII as itself, `&`
// as `&-`, everything else as UTF-16 in base64 with `,` for `/`, between `&`
// and `-`. "Entwürfe" is `Entw&APw-rfe`.
QByteArray encodeMailboxName(const QString& name);

// The name a server sent. A name that is not valid modified UTF-7 (a server
// sending raw UTF-8) is read as UTF-8 rather than refused: the user still
// sees the folder.
QString decodeMailboxName(QByteArrayView wire);

} // namespace velmora::imap
