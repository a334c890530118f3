// The GMime wrapper on the input as a raw message: reading it, then tagging
// its subject as the filter tags spam, and reading the tagged message.
#include "FuzzSupport.h"

#include "hosts/mime/MimeMessage.h"

using namespace velmora;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::setUp();
    const QByteArrayView raw = fuzz::inputBytes(data, size);
    const mime::Message message = mime::parseMessage(raw);
    const QByteArray tagged = mime::withSubject(raw, QStringLiteral("{S:97%} ") + message.subject);
    mime::parseMessage(tagged);
    return 0;
}
