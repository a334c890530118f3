#include "hosts/imap/ImapParser.h"

#include <limits>
#include <utility>

namespace velmora::imap {

namespace {

constexpr int kMaxDepth = 64; // nested lists; deeper is an attack, not mail
constexpr qsizetype kShownLine = 200;

bool isStatusWord(QByteArrayView word) {
    return word == "OK" || word == "NO" || word == "BAD" || word == "BYE" || word == "PREAUTH";
}

// The first line of `bytes`, printable, shortened: what an error names.
QString printableLine(QByteArrayView bytes) {
    qsizetype end = bytes.indexOf('\n');
    if (end < 0)
        end = bytes.size();
    if (end > 0 && bytes[end - 1] == '\r')
        --end;
    QString line;
    for (qsizetype i = 0; i < qMin(end, kShownLine); ++i) {
        const auto c = static_cast<unsigned char>(bytes[i]);
        if (c < 0x20 || c == 0x7f)
            line += QStringLiteral("\\x%1").arg(c, 2, 16, QLatin1Char('0'));
        else
            line += QLatin1Char(static_cast<char>(c));
    }
    if (end > kShownLine)
        line += QStringLiteral("...");
    return line;
}

// Whether a response beginning with `line` carries text rather than data:
// continuations and status responses never announce literals.
bool isTextResponse(QByteArrayView line) {
    if (line.startsWith('+'))
        return true;
    const qsizetype afterTag = line.indexOf(' ');
    if (afterTag < 0)
        return false;
    QByteArrayView word = line.sliced(afterTag + 1);
    const qsizetype end = word.indexOf(' ');
    if (end >= 0)
        word = word.first(end);
    return isStatusWord(QByteArray(word.data(), word.size()).toUpper());
}

// The n of a line ending in `{n}`, `{n+}` or `~{n}`; -1 when it does not.
qint64 literalAtEnd(QByteArrayView line) {
    if (!line.endsWith('}'))
        return -1;
    qsizetype i = line.size() - 2;
    if (i >= 0 && line[i] == '+')
        --i;
    const qsizetype lastDigit = i;
    while (i >= 0 && line[i] >= '0' && line[i] <= '9')
        --i;
    if (i < 0 || line[i] != '{' || i == lastDigit)
        return -1;
    const QByteArrayView digits = line.sliced(i + 1, lastDigit - i);
    if (digits.size() > 15)
        return std::numeric_limits<qint64>::max(); // reported as too large
    return QByteArray(digits.data(), digits.size()).toLongLong();
}

// Reads the items of one framed response.
class Reader {
public:
    explicit Reader(const QByteArray& bytes) : d(bytes) {}

    bool atLineEnd() const { return p >= d.size() || d[p] == '\r' || d[p] == '\n'; }
    char peek() const { return p < d.size() ? d[p] : '\0'; }
    void skipSpaces() {
        while (p < d.size() && d[p] == ' ')
            ++p;
    }

    bool fail(const QString& reason) {
        if (why.isEmpty())
            why = reason + QStringLiteral(" at byte %1").arg(p);
        return false;
    }

    // Atom characters: anything visible but the delimiters. A `[` opens a
    // section (`BODY[HEADER.FIELDS (MESSAGE-ID)]`) that may hold spaces and
    // parentheses and runs to its matching `]`.
    bool readAtom(QByteArray& out, bool sections, bool stopAtBracket = false) {
        const qsizetype begin = p;
        int brackets = 0;
        while (p < d.size()) {
            const auto c = static_cast<unsigned char>(d[p]);
            if (c == '\r' || c == '\n')
                break;
            if (c < 0x20 || c == 0x7f)
                return fail(
                    QStringLiteral("a control character 0x%1").arg(c, 2, 16, QLatin1Char('0')));
            if (brackets > 0) {
                if (c == '[')
                    ++brackets;
                else if (c == ']')
                    --brackets;
                ++p;
                continue;
            }
            if (c == ' ' || c == '(' || c == ')' || c == '"' || c == '{')
                break;
            if (c == ']' && stopAtBracket)
                break;
            if (c == '[' && sections)
                ++brackets;
            ++p;
        }
        if (brackets > 0)
            return fail(QStringLiteral("a [ without its closing ]"));
        if (p == begin)
            return fail(QStringLiteral("an empty item"));
        out = d.mid(begin, p - begin);
        return true;
    }

    bool readQuoted(QByteArray& out) {
        ++p; // the opening quote
        while (p < d.size()) {
            const char c = d[p++];
            if (c == '"')
                return true;
            if (c == '\r' || c == '\n')
                break;
            if (c == '\\') {
                if (p >= d.size())
                    break;
                out += d[p++];
                continue;
            }
            out += c;
        }
        return fail(QStringLiteral("a quoted string without its closing quote"));
    }

    bool readLiteral(QByteArray& out) {
        if (peek() == '~')
            ++p;
        ++p; // the brace
        const qsizetype digitsBegin = p;
        while (p < d.size() && d[p] >= '0' && d[p] <= '9')
            ++p;
        const qsizetype digits = p - digitsBegin;
        if (peek() == '+')
            ++p;
        if (digits == 0 || digits > 15 || peek() != '}')
            return fail(QStringLiteral("a malformed literal"));
        const qint64 size = d.mid(digitsBegin, digits).toLongLong();
        ++p;
        if (peek() == '\r')
            ++p;
        if (peek() != '\n')
            return fail(QStringLiteral("a literal not followed by a line break"));
        ++p;
        if (size > d.size() - p)
            return fail(QStringLiteral("a literal longer than the response"));
        out = d.mid(p, size);
        p += size;
        return true;
    }

    bool readValue(ImapValue& out, int depth) {
        const char c = peek();
        if (c == '(') {
            if (depth >= kMaxDepth)
                return fail(QStringLiteral("lists nested too deep"));
            ++p;
            out.kind = ImapValue::Kind::List;
            return readValues(out.items, true, depth + 1);
        }
        if (c == '"') {
            out.kind = ImapValue::Kind::String;
            return readQuoted(out.bytes);
        }
        if (c == '{' || (c == '~' && p + 1 < d.size() && d[p + 1] == '{')) {
            out.kind = ImapValue::Kind::String;
            return readLiteral(out.bytes);
        }
        if (!readAtom(out.bytes, true))
            return false;
        if (out.bytes.compare("NIL", Qt::CaseInsensitive) == 0) {
            out.kind = ImapValue::Kind::Nil;
            out.bytes.clear();
            return true;
        }
        bool allDigits = out.bytes.size() <= 19;
        for (const char digit : std::as_const(out.bytes))
            allDigits = allDigits && digit >= '0' && digit <= '9';
        out.kind = allDigits ? ImapValue::Kind::Number : ImapValue::Kind::Atom;
        if (allDigits)
            out.number = out.bytes.toULongLong();
        return true;
    }

    // Items up to the closing parenthesis (inList) or the end of the line.
    bool readValues(QList<ImapValue>& out, bool inList, int depth) {
        for (;;) {
            skipSpaces();
            if (atLineEnd()) {
                if (inList)
                    return fail(QStringLiteral("a list without its closing )"));
                return true;
            }
            if (peek() == ')') {
                if (!inList)
                    return fail(QStringLiteral("a ) that closes nothing"));
                ++p;
                return true;
            }
            ImapValue value;
            if (!readValue(value, depth))
                return false;
            out.append(std::move(value));
        }
    }

    // What follows OK/NO/BAD/BYE/PREAUTH: an optional [code], then text.
    bool readStatusRest(ImapResponse& out) {
        if (peek() == ' ')
            ++p;
        if (peek() == '[') {
            const qsizetype close = d.indexOf(']', p);
            const qsizetype lineEnd = d.indexOf('\n', p);
            if (close < 0 || (lineEnd >= 0 && close > lineEnd))
                return fail(QStringLiteral("a response code without its closing ]"));
            const QByteArray inside = d.mid(p + 1, close - p - 1);
            const qsizetype space = inside.indexOf(' ');
            out.code.name = (space < 0 ? inside : inside.left(space)).toUpper();
            if (space >= 0) {
                out.code.rawArguments = inside.mid(space + 1);
                // Arguments are read when they can be; odd ones stay raw.
                const QByteArray line = out.code.rawArguments + "\r\n";
                Reader arguments(line);
                if (!arguments.readValues(out.code.arguments, false, 1))
                    out.code.arguments.clear();
            }
            p = close + 1;
            if (peek() == ' ')
                ++p;
        }
        const qsizetype begin = p;
        while (!atLineEnd())
            ++p;
        out.text = QString::fromUtf8(d.mid(begin, p - begin));
        return true;
    }

    bool readResponse(ImapResponse& out) {
        if (peek() == '+') {
            out.kind = ImapResponse::Kind::Continuation;
            ++p;
            if (peek() == ' ')
                ++p;
            const qsizetype begin = p;
            while (!atLineEnd())
                ++p;
            out.text = QString::fromUtf8(d.mid(begin, p - begin));
            return true;
        }
        QByteArray tag;
        if (peek() == ' ' || !readAtom(tag, false)) {
            why.clear(); // the general reason says more than "an empty item"
            return fail(QStringLiteral("a response must begin with a tag, * or +"));
        }
        if (peek() != ' ')
            return fail(QStringLiteral("a space expected after the tag"));
        ++p;
        out.kind = tag == "*" ? ImapResponse::Kind::Untagged : ImapResponse::Kind::Tagged;
        if (out.kind == ImapResponse::Kind::Tagged)
            out.tag = tag;

        QByteArray word;
        if (out.kind == ImapResponse::Kind::Untagged && peek() >= '0' && peek() <= '9') {
            QByteArray digits;
            if (!readAtom(digits, false))
                return false;
            bool ok = false;
            const quint32 number = digits.toUInt(&ok);
            if (!ok)
                return fail(QStringLiteral("a message number that is not a number"));
            out.number = number;
            if (peek() != ' ')
                return fail(QStringLiteral("a space expected after the number"));
            ++p;
        }
        if (!readAtom(word, false)) {
            why.clear();
            return fail(QStringLiteral("a response name expected"));
        }
        word = word.toUpper();
        if (!out.number && isStatusWord(word)) {
            out.status = word;
            if (out.kind == ImapResponse::Kind::Tagged && word != "OK" && word != "NO" &&
                word != "BAD")
                return fail(QStringLiteral("a tagged %1").arg(QString::fromLatin1(word)));
            return readStatusRest(out);
        }
        if (out.kind == ImapResponse::Kind::Tagged)
            return fail(QStringLiteral("OK, NO or BAD expected after the tag"));
        out.name = word;
        return readValues(out.values, false, 0);
    }

    const QByteArray& d;
    qsizetype p = 0;
    QString why;
};

} // namespace

bool ImapParser::parseResponse(const QByteArray& bytes, ImapResponse& out, QString& why) {
    Reader reader(bytes);
    if (!reader.readResponse(out)) {
        why = reader.why;
        return false;
    }
    if (reader.peek() == '\r')
        ++reader.p;
    if (reader.peek() == '\n')
        ++reader.p;
    if (reader.p != bytes.size()) {
        why = QStringLiteral("more after the end of the response at byte %1").arg(reader.p);
        return false;
    }
    return true;
}

QList<ImapResponse> ImapParser::feed(QByteArrayView bytes) {
    if (failed())
        return {};
    m_buffer.append(bytes);
    while (frameNext()) {
    }
    // Dropping what was read only now and then keeps appends and removals
    // linear however the responses fall into chunks.
    if (m_start > 0 && (m_start == m_buffer.size() || m_start > m_buffer.size() / 2)) {
        m_buffer.remove(0, m_start);
        m_scan -= m_start;
        m_lineStart -= m_start;
        m_start = 0;
    }
    return std::exchange(m_ready, {});
}

bool ImapParser::frameNext() {
    for (;;) {
        if (failed())
            return false;
        if (m_literalLeft > 0) {
            const qint64 take = qMin<qint64>(m_buffer.size() - m_scan, m_literalLeft);
            m_scan += take;
            m_literalLeft -= take;
            if (m_literalLeft > 0)
                return false;
            m_lineStart = m_scan;
        }
        const qsizetype lineFeed = m_buffer.indexOf('\n', m_scan);
        if (lineFeed < 0) {
            m_scan = m_buffer.size();
            if (m_buffer.size() - m_lineStart > kMaxLine)
                fail(QStringLiteral("a line longer than %1 bytes").arg(kMaxLine),
                     QByteArrayView(m_buffer).sliced(m_start));
            return false;
        }
        QByteArrayView line = QByteArrayView(m_buffer).sliced(m_lineStart, lineFeed - m_lineStart);
        if (line.endsWith('\r'))
            line.chop(1);
        if (m_firstLine) {
            m_textResponse = isTextResponse(line);
            m_firstLine = false;
        }
        const qint64 literal = m_textResponse ? -1 : literalAtEnd(line);
        if (literal >= 0) {
            if (literal > m_maxLiteral) {
                fail(QStringLiteral("a literal of %1 bytes, more than the %2 accepted")
                         .arg(literal)
                         .arg(m_maxLiteral),
                     QByteArrayView(m_buffer).sliced(m_start));
                return false;
            }
            m_literalLeft = literal;
            m_scan = m_lineStart = lineFeed + 1;
            continue;
        }
        const QByteArray bytes = m_buffer.mid(m_start, lineFeed + 1 - m_start);
        ImapResponse response;
        QString why;
        if (!parseResponse(bytes, response, why)) {
            fail(why, bytes);
            return false;
        }
        m_ready.append(std::move(response));
        m_start = m_scan = m_lineStart = lineFeed + 1;
        m_firstLine = true;
        return true;
    }
}

void ImapParser::fail(const QString& why, QByteArrayView line) {
    m_error = QStringLiteral("cannot read the server's response: %1 in: %2")
                  .arg(why, printableLine(line));
}

void ImapParser::reset() {
    m_buffer.clear();
    m_start = m_scan = m_lineStart = 0;
    m_literalLeft = 0;
    m_firstLine = true;
    m_textResponse = false;
    m_ready.clear();
    m_error.clear();
}

} // namespace velmora::imap
