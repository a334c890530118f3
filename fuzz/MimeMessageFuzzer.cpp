// The GMime wrapper on the input as a raw message: reading it, then tagging
// its subject as the filter tags spam, and reading the tagged message. When
// the quick reader of simple messages answers, it must read the message as
// the parser does.
#include "FuzzSupport.h"

#include "hosts/mime/MimeMessage.h"
#include "hosts/mime/SimpleMessage.h"

#include <cstdlib>

using namespace velmora;

namespace {

void checkQuickReading(QByteArrayView raw) {
    const std::optional<mime::Message> simple = mime::parseSimpleMessage(raw);
    if (simple && !(*simple == mime::parseMessageAsIs(raw)))
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::setUp();
    const QByteArrayView raw = fuzz::inputBytes(data, size);
    checkQuickReading(raw);
    const mime::Message message = mime::parseMessage(raw);
    const QByteArray tagged = mime::withSubject(raw, QStringLiteral("{S:97%} ") + message.subject);
    checkQuickReading(tagged);
    mime::parseMessage(tagged);
    return 0;
}
