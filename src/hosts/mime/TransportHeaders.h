#pragma once

#include <QByteArray>
#include <QByteArrayView>

namespace velmora::mime {

// The message without the header fields that servers and lists add on the
// way (Received, Return-Path, Delivered-To, DKIM and ARC signatures, X- and
// List- fields, ...), which nothing here reads but which make up most of the
// objects the MIME parser builds and frees for a message. Empty when nothing
// would be dropped, or when the header block is not plainly made of fields
// (then only the parser knows where it ends, and the message goes to it as it
// is). The body is never touched.
QByteArray withoutTransportHeaders(QByteArrayView raw);

} // namespace velmora::mime
