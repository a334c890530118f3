#include "settings/IniSyntax.h"

#include "base/HexDigit.h"

#include <QStringDecoder>
#include <QStringEncoder>

namespace velmora {
namespace {

bool isIniBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

bool isLineEnd(char c) {
    return c == '\r' || c == '\n';
}

int octalValue(char c) {
    return (c >= '0' && c <= '7') ? c - '0' : -1;
}

bool isHexDigit(char16_t c) {
    return c < 0x80 && hexDigitValue(static_cast<char>(c)) >= 0;
}

// The character a backslash and `c` stand for, or 0 when that is no simple
// escape.
char simpleEscape(char c) {
    switch (c) {
    case 'a':
        return '\a';
    case 'b':
        return '\b';
    case 'f':
        return '\f';
    case 'n':
        return '\n';
    case 'r':
        return '\r';
    case 't':
        return '\t';
    case 'v':
        return '\v';
    case '"':
    case '?':
    case '\'':
    case '\\':
        return c;
    default:
        return 0;
    }
}

// Reads the logical line that starts at or after `pos` and moves `pos` past it.
// Returns false at the end of the data.
bool nextIniLine(QByteArrayView data, qsizetype& pos, IniLine& line) {
    const qsizetype size = data.size();
    qsizetype start = pos;
    while (start < size && isIniBlank(data[start]))
        ++start;
    qsizetype equals = -1;
    bool inQuotes = false;
    qsizetype i = start;
    while (i < size) {
        const char c = data[i++];
        if (c == '=') {
            if (!inQuotes && equals < 0)
                equals = i - 1;
        } else if (isLineEnd(c)) {
            if (!inQuotes) {
                --i;
                break;
            }
        } else if (c == '\\') {
            if (i < size) {
                const char escaped = data[i++];
                if (i < size && isLineEnd(escaped) && isLineEnd(data[i]) && data[i] != escaped)
                    ++i;
            }
        } else if (c == '"') {
            inQuotes = !inQuotes;
        } else if (c == ';') {
            if (i == start + 1) {
                // A comment line: the logical line starts after it.
                while (i < size && !isLineEnd(data[i]))
                    ++i;
                while (i < size && isIniBlank(data[i]))
                    ++i;
                start = i;
            } else if (!inQuotes) {
                --i; // the rest of the physical line is a comment
                break;
            }
        }
    }
    pos = i;
    line = IniLine{start, i, equals};
    return i > start;
}

void chopTrailingBlanks(QString& text, qsizetype keep) {
    qsizetype n = text.size();
    while (n > keep && (text[n - 1] == QLatin1Char(' ') || text[n - 1] == QLatin1Char('\t')))
        --n;
    text.truncate(n);
}

} // namespace

QList<IniLine> splitIniLines(QByteArrayView data) {
    QList<IniLine> lines;
    qsizetype pos = data.startsWith("\xEF\xBB\xBF") ? 3 : 0;
    IniLine line;
    while (nextIniLine(data, pos, line))
        lines.append(line);
    return lines;
}

QString unescapeIniKey(QByteArrayView key) {
    const QString decoded = QString::fromUtf8(key);
    const qsizetype size = decoded.size();
    QString result;
    result.reserve(size);
    qsizetype i = 0;
    while (i < size) {
        const QChar c = decoded[i];
        if (c == QLatin1Char('\\')) {
            result += QLatin1Char('/');
            ++i;
            continue;
        }
        if (c != QLatin1Char('%') || i == size - 1) {
            result += c;
            ++i;
            continue;
        }
        const bool wide = decoded[i + 1] == QLatin1Char('U');
        const qsizetype first = wide ? i + 2 : i + 1;
        const qsizetype digits = wide ? 4 : 2;
        bool ok = false;
        const ushort code = first + digits <= size
                                ? QStringView(decoded).sliced(first, digits).toUShort(&ok, 16)
                                : 0;
        if (!ok) {
            result += QLatin1Char('%');
            ++i;
            continue;
        }
        result += QChar(code);
        i = first + digits;
    }
    return result;
}

QByteArray escapeIniKey(QStringView key) {
    static const char kHex[] = "0123456789ABCDEF";
    QByteArray out;
    out.reserve(key.size());
    for (const QChar qc : key) {
        const char16_t c = qc.unicode();
        if (c == u'/') {
            out += '\\';
        } else if ((c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') ||
                   (c >= u'0' && c <= u'9') || c == u'_' || c == u'-' || c == u'.') {
            out += static_cast<char>(c);
        } else if (c <= 0xFF) {
            out += '%';
            out += kHex[c >> 4];
            out += kHex[c & 0xF];
        } else {
            out += "%U";
            for (int shift = 12; shift >= 0; shift -= 4)
                out += kHex[(c >> shift) & 0xF];
        }
    }
    return out;
}

IniValueText unescapeIniValue(QByteArrayView in) {
    IniValueText out;
    QString& text = out.text;
    // One decoder for the whole value: like Qt's reader, a UTF-8 sequence cut
    // by quotes or escapes continues after them, and an unfinished one at the
    // end is dropped.
    QStringDecoder fromUtf8(QStringDecoder::Utf8);
    const qsizetype size = in.size();
    qsizetype i = 0;
    bool inQuotes = false;
    bool itemQuoted = false;
    // Blanks at the end of an unquoted item are dropped, but not those that
    // came from an escape or stood before a closing quote.
    qsizetype keep = 0;
    bool chopAtEnd = true;
    const auto skipBlanks = [&] {
        while (i < size && (in[i] == ' ' || in[i] == '\t'))
            ++i;
        keep = text.size();
    };
    // Appends the number that `digitValue` reads from the digits at `i`, kept to
    // 16 bits as Qt keeps it. At the end of the value nothing more is trimmed.
    const auto appendNumberEscape = [&](char16_t value, int bits, int (*digitValue)(char)) {
        while (i < size && digitValue(in[i]) >= 0)
            value = static_cast<char16_t>((value << bits) + digitValue(in[i++]));
        text += QChar(value);
        if (i >= size)
            chopAtEnd = false;
        keep = text.size();
    };

    skipBlanks();
    while (i < size && chopAtEnd) {
        const char c = in[i];
        if (c == '\\') {
            if (++i >= size) {
                chopAtEnd = false;
                break;
            }
            const char e = in[i++];
            if (const char simple = simpleEscape(e)) {
                text += QLatin1Char(simple);
            } else if (e == 'x') {
                if (i >= size) {
                    chopAtEnd = false;
                    break;
                }
                if (hexDigitValue(in[i]) >= 0) {
                    appendNumberEscape(0, 4, hexDigitValue);
                    continue;
                }
            } else if (octalValue(e) >= 0) {
                appendNumberEscape(static_cast<char16_t>(octalValue(e)), 3, octalValue);
                continue;
            } else if (isLineEnd(e)) {
                if (i < size && isLineEnd(in[i]) && in[i] != e)
                    ++i; // an escaped line end continues the value
            }
            // Any other escaped character is dropped.
            keep = text.size();
        } else if (c == '"') {
            ++i;
            itemQuoted = true;
            inQuotes = !inQuotes;
            if (!inQuotes)
                skipBlanks();
        } else if (c == ',' && !inQuotes) {
            if (!itemQuoted)
                chopTrailingBlanks(text, keep);
            out.isList = true;
            out.items.append(text);
            text.clear();
            itemQuoted = false;
            ++i;
            skipBlanks();
        } else {
            qsizetype j = i + 1;
            while (j < size && in[j] != '\\' && in[j] != '"' && in[j] != ',')
                ++j;
            text += fromUtf8(in.sliced(i, j - i));
            i = j;
        }
    }
    if (chopAtEnd && !itemQuoted)
        chopTrailingBlanks(text, keep);
    if (out.isList) {
        out.items.append(text);
        text.clear();
    }
    return out;
}

QByteArray escapeIniValue(QStringView text) {
    QByteArray out;
    out.reserve(text.size() + 2);
    QStringEncoder toUtf8(QStringEncoder::Utf8);
    bool needsQuotes = false;
    // After a numeric escape a hex digit would be read as part of it, so it is
    // escaped as well.
    bool escapeHexDigit = false;
    for (const QChar qc : text) {
        const char16_t c = qc.unicode();
        if (c == u';' || c == u',' || c == u'=')
            needsQuotes = true;
        if (escapeHexDigit && isHexDigit(c)) {
            out += "\\x" + QByteArray::number(c, 16);
            continue;
        }
        escapeHexDigit = false;
        switch (c) {
        case u'\0':
            out += "\\0";
            escapeHexDigit = true;
            break;
        case u'\a':
            out += "\\a";
            break;
        case u'\b':
            out += "\\b";
            break;
        case u'\f':
            out += "\\f";
            break;
        case u'\n':
            out += "\\n";
            break;
        case u'\r':
            out += "\\r";
            break;
        case u'\t':
            out += "\\t";
            break;
        case u'\v':
            out += "\\v";
            break;
        case u'"':
        case u'\\':
            out += '\\';
            out += static_cast<char>(c);
            break;
        default:
            // A byte order mark is escaped too: read as UTF-8 at the start of
            // a value, it would be dropped.
            if (c <= 0x1F || c == 0xFEFF) {
                out += "\\x" + QByteArray::number(c, 16);
                escapeHexDigit = true;
            } else {
                out += toUtf8(QStringView(&qc, 1));
            }
        }
    }
    if (needsQuotes || (!out.isEmpty() && (out.front() == ' ' || out.back() == ' '))) {
        out.prepend('"');
        out.append('"');
    }
    return out;
}

} // namespace velmora
