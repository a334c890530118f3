#include "hosts/mime/TransportHeaders.h"

namespace velmora::mime {
namespace {

bool isFieldNameChar(char c) {
    return c > 32 && c < 127 && c != ':';
}

bool startsWithCaseless(QByteArrayView text, QByteArrayView prefix) {
    return text.size() >= prefix.size() &&
           text.first(prefix.size()).compare(prefix, Qt::CaseInsensitive) == 0;
}

bool isTransportField(QByteArrayView name) {
    static const QByteArrayView kNames[] = {
        "received",       "return-path",         "delivered-to",
        "dkim-signature", "domainkey-signature", "authentication-results",
        "received-spf",   "precedence",          "errors-to",
        "user-agent",
    };
    if (startsWithCaseless(name, "x-") || startsWithCaseless(name, "list-") ||
        startsWithCaseless(name, "arc-"))
        return true;
    for (QByteArrayView known : kNames) {
        if (name.compare(known, Qt::CaseInsensitive) == 0)
            return true;
    }
    return false;
}

} // namespace

QByteArray withoutTransportHeaders(QByteArrayView raw) {
    QByteArray kept;
    qsizetype copiedUpTo = 0; // raw[copiedUpTo, fieldStart) is still to be kept
    qsizetype fieldStart = -1;
    bool dropField = false;
    bool droppedAny = false;
    int keptFields = 0;
    auto endField = [&](qsizetype at) {
        if (fieldStart >= 0 && dropField) {
            kept.append(raw.sliced(copiedUpTo, fieldStart - copiedUpTo));
            copiedUpTo = at;
            droppedAny = true;
        }
        fieldStart = -1;
    };
    bool blockEnded = false;
    for (qsizetype at = 0; at < raw.size();) {
        const qsizetype lineEnd = raw.indexOf('\n', at);
        const qsizetype next = lineEnd < 0 ? raw.size() : lineEnd + 1;
        const QByteArrayView line = raw.sliced(at, next - at);
        if (line == "\n" || line == "\r\n") {
            endField(at);
            blockEnded = true;
            break;
        }
        if (line.startsWith(' ') || line.startsWith('\t')) {
            if (fieldStart < 0)
                return {}; // a continuation of nothing
        } else if (at == 0 && line.startsWith("From ")) {
            // A mailbox's separator line stays where it is.
        } else {
            qsizetype colon = 0;
            while (colon < line.size() && isFieldNameChar(line[colon]))
                ++colon;
            if (colon == 0 || colon >= line.size() || line[colon] != ':')
                return {}; // not a field: leave the header block to the parser
            endField(at);
            fieldStart = at;
            dropField = isTransportField(line.first(colon));
            keptFields += dropField ? 0 : 1;
        }
        at = next;
    }
    if (!blockEnded)
        endField(raw.size());
    // Without a single field left the parser might not see a header block.
    if (!droppedAny || keptFields == 0)
        return {};
    kept.append(raw.sliced(copiedUpTo));
    return kept;
}

} // namespace velmora::mime
