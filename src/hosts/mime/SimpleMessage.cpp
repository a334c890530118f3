#include "hosts/mime/SimpleMessage.h"

#include "base/HexDigit.h"
#include "hosts/mime/LineEnds.h"

#include <array>

namespace velmora::mime {
namespace {

using View = QByteArrayView;

// Where a field's value lies in the message: from after the colon to the end
// of its last line, folding line ends included.
struct Span {
    qsizetype begin = -1;
    qsizetype end = -1;
    bool present() const { return begin >= 0; }
};

struct Fields {
    Span from, to, cc, bcc, subject, messageId, contentType, encoding, disposition;
};

bool isFieldNameChar(char c) {
    return c > 32 && c < 127 && c != ':';
}

bool isAtext(char c) {
    if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'))
        return true;
    return View("!#$%&'*+-/=?^_`{|}~").contains(c);
}

bool isSpace(char c) {
    return c == ' ' || c == '\t';
}

View trimmed(View text) {
    while (!text.isEmpty() && isSpace(text.front()))
        text = text.sliced(1);
    while (!text.isEmpty() && isSpace(text.back()))
        text.chop(1);
    return text;
}

// The field's value with its folding line ends taken out (the white space
// after them stays) and the white space around it trimmed.
QByteArray unfolded(View raw, Span span) {
    QByteArray value;
    value.reserve(span.end - span.begin);
    for (char c : raw.sliced(span.begin, span.end - span.begin)) {
        if (c != '\r' && c != '\n')
            value.append(c);
    }
    return trimmed(value).toByteArray();
}

// Which of the fields read here a field name is; nullptr for the others.
// False when it is one of them given twice.
bool slotFor(View name, Fields& fields, Span*& slot) {
    struct Known {
        View name;
        Span Fields::*span;
    };
    static const std::array<Known, 9> kKnown{{
        {"from", &Fields::from},
        {"to", &Fields::to},
        {"cc", &Fields::cc},
        {"bcc", &Fields::bcc},
        {"subject", &Fields::subject},
        {"message-id", &Fields::messageId},
        {"content-type", &Fields::contentType},
        {"content-transfer-encoding", &Fields::encoding},
        {"content-disposition", &Fields::disposition},
    }};
    slot = nullptr;
    for (const Known& known : kKnown) {
        if (name.compare(known.name, Qt::CaseInsensitive) == 0) {
            slot = &(fields.*known.span);
            return !slot->present(); // given twice: the parser decides
        }
    }
    return true;
}

// Walks the header block. Returns where the body starts, or -1 when the block
// is not plainly made of fields of printable ASCII ending in an empty line.
qsizetype readHeaderBlock(View raw, Fields& fields) {
    qsizetype at = 0;
    if (raw.startsWith("From ")) { // a mailbox's separator line
        const qsizetype lineEnd = raw.indexOf('\n');
        if (lineEnd < 0 || trimmed(raw.first(lineEnd).sliced(4)).startsWith(':'))
            return -1; // no line, or a From field with space before its colon
        at = lineEnd + 1;
    }
    Span* current = nullptr;
    bool inField = false;
    int fieldCount = 0;
    while (true) {
        const qsizetype lineEnd = raw.indexOf('\n', at);
        if (lineEnd < 0)
            return -1;
        View line = raw.sliced(at, lineEnd - at);
        if (line.endsWith('\r'))
            line.chop(1);
        if (line.isEmpty())
            return fieldCount > 0 ? lineEnd + 1 : -1;
        for (char c : line) {
            if (!(c == '\t' || (c >= 32 && c < 127)))
                return -1;
        }
        if (isSpace(line.front())) {
            if (!inField || trimmed(line).isEmpty())
                return -1;
            if (current)
                current->end = at + line.size();
        } else {
            qsizetype colon = 0;
            while (colon < line.size() && isFieldNameChar(line[colon]))
                ++colon;
            if (colon == 0 || colon >= line.size() || line[colon] != ':')
                return -1;
            if (!slotFor(line.first(colon), fields, current))
                return -1;
            if (current)
                *current = {at + colon + 1, at + line.size()};
            inField = true;
            ++fieldCount;
        }
        at = lineEnd + 1;
    }
}

// local@domain, both dot-atoms; a domain that may be an encoded
// international name is left to the parser, which decodes it.
bool isDotAtom(View text) {
    if (text.isEmpty() || text.front() == '.' || text.back() == '.')
        return false;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '.' ? text[i - 1] == '.' : !isAtext(c))
            return false;
    }
    return true;
}

bool isPlainAddress(View address) {
    const qsizetype at = address.indexOf('@');
    if (at < 0 || address.indexOf('@', at + 1) >= 0)
        return false;
    const View domain = address.sliced(at + 1);
    return isDotAtom(address.first(at)) && isDotAtom(domain) && !domain.contains("xn--") &&
           !domain.contains("XN--") && !domain.contains("Xn--") && !domain.contains("xN--");
}

// A display name of plain words, or one quoted string without
// escapes.
bool isPlainDisplayName(View name) {
    if (name.isEmpty())
        return true;
    if (name.front() == '"')
        return name.size() >= 2 && name.back() == '"' &&
               !name.sliced(1, name.size() - 2).contains('"') && !name.contains('\\');
    // A dot may follow a letter ("J. Smith"), never start a word.
    char previous = ' ';
    for (char c : name) {
        if (!(isAtext(c) || isSpace(c) || (c == '.' && isAtext(previous))))
            return false;
        previous = c;
    }
    return true;
}

// "a@b", "<a@b>" or "Name <a@b>", each perhaps followed by one comment
// ("a@b (Ann)"); nullopt for any other form.
std::optional<View> addressOf(View element) {
    element = trimmed(element);
    if (element.endsWith(')')) {
        const qsizetype open = element.indexOf('(');
        if (open < 0)
            return std::nullopt;
        const View comment = element.sliced(open + 1, element.size() - open - 2);
        if (comment.contains('(') || comment.contains(')') || comment.contains('\\') ||
            comment.contains('"'))
            return std::nullopt;
        element = trimmed(element.first(open));
    }
    if (!element.endsWith('>'))
        return isPlainAddress(element) ? std::optional<View>(element) : std::nullopt;
    const qsizetype open = element.lastIndexOf('<');
    if (open < 0 || element.indexOf('<') != open)
        return std::nullopt;
    const View address = element.sliced(open + 1, element.size() - open - 2);
    if (!isPlainAddress(address) || !isPlainDisplayName(trimmed(element.first(open))))
        return std::nullopt;
    return address;
}

// Appends the addresses of a list in its plainest form; false for any other.
bool appendAddresses(QStringList& into, const QByteArray& list) {
    if (list.isEmpty())
        return true;
    bool quoted = false;
    bool inComment = false;
    qsizetype start = 0;
    for (qsizetype i = 0; i <= list.size(); ++i) {
        if (i < list.size()) {
            const char c = list[i];
            if (c == '"' && !inComment)
                quoted = !quoted;
            else if (c == '(' && !quoted)
                inComment = true;
            else if (c == ')' && !quoted)
                inComment = false;
            if (quoted || inComment || c != ',')
                continue;
        }
        const std::optional<View> address = addressOf(View(list).sliced(start, i - start));
        if (!address)
            return false;
        into.append(QString::fromLatin1(*address));
        start = i + 1;
    }
    return !quoted && !inComment;
}

// Four numbers of one to three digits, dotted.
bool isDottedQuad(View text) {
    int numbers = 0;
    int digits = 0;
    for (qsizetype i = 0; i <= text.size(); ++i) {
        if (i == text.size() || text[i] == '.') {
            if (digits == 0 || digits > 3)
                return false;
            ++numbers;
            digits = 0;
        } else if (text[i] >= '0' && text[i] <= '9') {
            ++digits;
        } else {
            return false;
        }
    }
    return numbers == 4;
}

// "<id>" with a plain id (local@domain, local@[1.2.3.4], or a dot-atom
// alone), given without its brackets.
std::optional<QString> messageIdOf(const QByteArray& value) {
    if (value.size() < 3 || value.front() != '<' || value.back() != '>')
        return std::nullopt;
    const View id = View(value).sliced(1, value.size() - 2);
    bool plain = false;
    const qsizetype at = id.indexOf('@');
    if (at < 0) {
        plain = isDotAtom(id);
    } else if (id.endsWith(']') && id.sliced(at + 1).startsWith('[')) {
        const View literal = id.sliced(at + 2, id.size() - at - 3);
        plain = isDotAtom(id.first(at)) && isDottedQuad(literal);
    } else {
        plain = isPlainAddress(id);
    }
    if (!plain)
        return std::nullopt;
    return QString::fromLatin1(id);
}

bool isToken(View text) {
    if (text.isEmpty())
        return false;
    for (char c : text) {
        if (!(isAtext(c) || c == '.') || c == '/' || c == '=')
            return false;
    }
    return true;
}

struct ContentType {
    bool html = false;
    QByteArray charset; // lower case; empty without one
};

// "text/plain" or "text/html" with plain parameters, none of which names a
// file; nullopt for any other type or form.
std::optional<ContentType> contentTypeOf(const QByteArray& value) {
    ContentType type;
    const QList<QByteArray> pieces = value.split(';');
    const View mediaType = trimmed(pieces.first());
    if (mediaType.compare("text/plain", Qt::CaseInsensitive) == 0)
        type.html = false;
    else if (mediaType.compare("text/html", Qt::CaseInsensitive) == 0)
        type.html = true;
    else
        return std::nullopt;
    bool charsetSeen = false;
    for (qsizetype i = 1; i < pieces.size(); ++i) {
        const View parameter = trimmed(pieces[i]);
        const qsizetype equals = parameter.indexOf('=');
        if (equals < 0)
            return std::nullopt;
        const View name = parameter.first(equals);
        View parameterValue = parameter.sliced(equals + 1);
        if (parameterValue.size() >= 2 && parameterValue.front() == '"' &&
            parameterValue.back() == '"')
            parameterValue = parameterValue.sliced(1, parameterValue.size() - 2);
        if (!isToken(name) || !isToken(parameterValue))
            return std::nullopt;
        // A name makes the text an attachment; parameters in pieces or in
        // another charset (name*=) are for the parser. Others change nothing.
        if (name.contains('*') || name.compare("name", Qt::CaseInsensitive) == 0)
            return std::nullopt;
        if (name.compare("charset", Qt::CaseInsensitive) == 0) {
            if (charsetSeen)
                return std::nullopt;
            charsetSeen = true;
            type.charset = parameterValue.toByteArray().toLower();
        }
    }
    return type;
}

// Quoted-printable with only well-formed escapes and soft line breaks.
std::optional<QByteArray> fromQuotedPrintable(View content) {
    QByteArray bytes;
    bytes.reserve(content.size());
    for (qsizetype i = 0; i < content.size(); ++i) {
        if (content[i] != '=') {
            bytes.append(content[i]);
            continue;
        }
        const View rest = content.sliced(i + 1);
        if (rest.startsWith('\n')) {
            i += 1;
        } else if (rest.startsWith("\r\n")) {
            i += 2;
        } else if (rest.size() >= 2 && hexDigitValue(rest[0]) >= 0 && hexDigitValue(rest[1]) >= 0) {
            bytes.append(char(hexDigitValue(rest[0]) * 16 + hexDigitValue(rest[1])));
            i += 2;
        } else {
            return std::nullopt;
        }
    }
    return bytes;
}

int base64Value(char c) {
    if (c >= 'A' && c <= 'Z')
        return c - 'A';
    if (c >= 'a' && c <= 'z')
        return c - 'a' + 26;
    if (c >= '0' && c <= '9')
        return c - '0' + 52;
    if (c == '+')
        return 62;
    if (c == '/')
        return 63;
    return -1;
}

// Base64 in whole groups of four, padded only at the very end, broken into
// lines; nothing else.
std::optional<QByteArray> fromBase64(View content) {
    QByteArray bytes;
    bytes.reserve(content.size() * 3 / 4);
    quint32 group = 0;
    int inGroup = 0;
    int padding = 0;
    for (char c : content) {
        if (c == '\r' || c == '\n')
            continue;
        if (c == '=') {
            ++padding;
            if (inGroup + padding > 4 || inGroup < 2)
                return std::nullopt;
            continue;
        }
        const int value = base64Value(c);
        if (value < 0 || padding > 0)
            return std::nullopt;
        group = group << 6 | quint32(value);
        if (++inGroup == 4) {
            bytes.append(char(group >> 16)).append(char(group >> 8)).append(char(group));
            group = 0;
            inGroup = 0;
        }
    }
    if (padding > 0) {
        if (inGroup + padding != 4)
            return std::nullopt;
        group <<= 6 * padding;
        bytes.append(char(group >> 16));
        if (inGroup == 3)
            bytes.append(char(group >> 8));
    } else if (inGroup != 0) {
        return std::nullopt;
    }
    return bytes;
}

bool isAscii(View bytes) {
    for (char c : bytes) {
        if (uchar(c) >= 0x80)
            return false;
    }
    return true;
}

// Charsets that read ASCII as ASCII: text in one of them that holds only
// ASCII needs no converting. (Not Shift_JIS, which reads the backslash as a
// yen sign and the tilde as an overline.)
bool isAsciiCompatible(View charset) {
    static const View kNames[] = {
        "us-ascii",     "iso-8859-2",   "iso-8859-3",   "iso-8859-4",   "iso-8859-5",
        "iso-8859-6",   "iso-8859-7",   "iso-8859-8",   "iso-8859-9",   "iso-8859-10",
        "iso-8859-13",  "iso-8859-14",  "iso-8859-15",  "windows-1250", "windows-1251",
        "windows-1252", "windows-1253", "windows-1254", "windows-1255", "windows-1256",
        "windows-1257", "windows-1258", "koi8-r",       "koi8-u",       "gb2312",
        "gbk",          "big5",         "euc-kr",       "euc-jp",
    };
    for (View name : kNames) {
        if (charset == name)
            return true;
    }
    return false;
}

// The text as Unicode. Like the parser's, it ends at a NUL byte.
std::optional<QString> textOf(View bytes, View charset) {
    const qsizetype nul = bytes.indexOf('\0');
    if (nul >= 0)
        bytes = bytes.first(nul);
    // Without a charset the bytes are taken as UTF-8 as they are; with one,
    // they are converted, which drops what is not UTF-8.
    if (charset.isEmpty() || (charset == "utf-8" && bytes.isValidUtf8()))
        return QString::fromUtf8(bytes);
    if (charset == "iso-8859-1")
        return QString::fromLatin1(bytes);
    if (isAsciiCompatible(charset) && isAscii(bytes))
        return QString::fromLatin1(bytes);
    return std::nullopt;
}

} // namespace

std::optional<Message> parseSimpleMessage(QByteArrayView raw) {
    Fields fields;
    const qsizetype bodyStart = readHeaderBlock(raw, fields);
    if (bodyStart < 0)
        return std::nullopt;

    // Shown inline, as text is anyway; with a file name it is an attachment.
    if (fields.disposition.present() &&
        unfolded(raw, fields.disposition).compare("inline", Qt::CaseInsensitive) != 0)
        return std::nullopt;
    ContentType type;
    if (fields.contentType.present()) {
        const std::optional<ContentType> given = contentTypeOf(unfolded(raw, fields.contentType));
        if (!given)
            return std::nullopt;
        type = *given;
    }
    const View content = raw.sliced(bodyStart);
    std::optional<QByteArray> decoded;
    const QByteArray encoding =
        fields.encoding.present() ? unfolded(raw, fields.encoding).toLower() : QByteArray();
    if (encoding.isEmpty() || encoding == "7bit" || encoding == "8bit" || encoding == "binary")
        decoded = QByteArray::fromRawData(content.data(), content.size());
    else if (encoding == "quoted-printable")
        decoded = fromQuotedPrintable(content);
    else if (encoding == "base64")
        decoded = fromBase64(content);
    if (!decoded)
        return std::nullopt;
    const std::optional<QString> text = textOf(*decoded, type.charset);
    if (!text)
        return std::nullopt;

    Message message;
    if (fields.subject.present()) {
        const QByteArray subject = unfolded(raw, fields.subject);
        if (subject.contains("=?"))
            return std::nullopt; // encoded words: the parser decodes them
        message.subject = QString::fromLatin1(subject);
    }
    if (fields.messageId.present()) {
        const std::optional<QString> id = messageIdOf(unfolded(raw, fields.messageId));
        if (!id)
            return std::nullopt;
        message.messageId = *id;
    }
    QStringList senders;
    if (fields.from.present() && !appendAddresses(senders, unfolded(raw, fields.from)))
        return std::nullopt;
    if (!senders.isEmpty())
        message.sender = senders.first();
    for (const Span& span : {fields.to, fields.cc, fields.bcc}) {
        if (span.present() && !appendAddresses(message.recipients, unfolded(raw, span)))
            return std::nullopt;
    }

    if (type.html) {
        message.htmlBody = withCrLf(*text);
        if (!message.htmlBody.isEmpty())
            message.body = withCrLf(htmlToText(message.htmlBody));
    } else {
        message.body = withCrLf(*text);
    }
    return message;
}

} // namespace velmora::mime
