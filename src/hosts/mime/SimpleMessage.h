#pragma once

#include "hosts/mime/MimeMessage.h"

#include <QByteArrayView>

#include <optional>

namespace velmora::mime {

// Most mail is one text part (plain or HTML) under header fields in their
// plainest forms. Such a message is read here in a few linear passes, without
// the MIME parser's tree of objects, which costs more to build and free than
// everything the filter then does with the text.
//
// Anything outside those plain forms (several parts, attachments, encoded
// words, comments or groups in addresses, a charset that needs converting, a
// field given twice, a broken encoding, bytes that are not ASCII in the
// header block) gives nullopt, and the message goes to the parser. What is
// read here is exactly what the parser would give.
std::optional<Message> parseSimpleMessage(QByteArrayView raw);

} // namespace velmora::mime
