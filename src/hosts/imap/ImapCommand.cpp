#include "hosts/imap/ImapCommand.h"

#include "hosts/imap/ModifiedUtf7.h"

namespace velmora::imap {

namespace {

constexpr qsizetype kLongestQuoted = 1024;
constexpr qsizetype kLiteralMinusLimit = 4096;

bool quotable(QByteArrayView bytes) {
    if (bytes.size() > kLongestQuoted)
        return false;
    for (const char c : bytes) {
        const auto u = static_cast<unsigned char>(c);
        if (u == 0 || u == '\r' || u == '\n' || u >= 0x80)
            return false;
    }
    return true;
}

// An atom needs no quotes: visible ASCII without the atom-specials.
bool isAtom(QByteArrayView bytes) {
    if (bytes.isEmpty() || bytes.compare("NIL", Qt::CaseInsensitive) == 0)
        return false;
    for (const char c : bytes) {
        const auto u = static_cast<unsigned char>(c);
        if (u <= 0x20 || u >= 0x7f || c == '(' || c == ')' || c == '{' || c == '%' || c == '*' ||
            c == '"' || c == '\\' || c == ']')
            return false;
    }
    return true;
}

} // namespace

QByteArray quoted(QByteArrayView bytes) {
    QByteArray out = "\"";
    for (const char c : bytes) {
        if (c == '"' || c == '\\')
            out += '\\';
        out += c;
    }
    return out + '"';
}

ImapCommand& ImapCommand::raw(QByteArrayView text) {
    m_parts.append({QByteArray(text.data(), text.size())});
    return *this;
}

ImapCommand& ImapCommand::number(quint64 value) {
    m_parts.append({QByteArray::number(value)});
    return *this;
}

ImapCommand& ImapCommand::string(QByteArrayView bytes) {
    if (isAtom(bytes))
        return raw(bytes);
    if (quotable(bytes))
        return raw(quoted(bytes));
    return literal(QByteArray(bytes.data(), bytes.size()));
}

ImapCommand& ImapCommand::mailbox(const QString& name) {
    return string(encodeMailboxName(name));
}

ImapCommand& ImapCommand::literal(QByteArray bytes) {
    m_parts.append({std::move(bytes), true});
    return *this;
}

ImapCommand& ImapCommand::secret() {
    if (!m_parts.isEmpty())
        m_parts.last().secret = true;
    return *this;
}

ImapCommand& ImapCommand::continuationReply(QByteArray line) {
    m_replies.append(std::move(line));
    return *this;
}

QList<QByteArray> ImapCommand::encode(QByteArrayView tag, Literals literals) const {
    QList<QByteArray> pieces;
    QByteArray piece(tag.data(), tag.size());
    piece += ' ' + m_verb;
    for (const Part& part : m_parts) {
        piece += ' ';
        if (!part.literal) {
            piece += part.bytes;
            continue;
        }
        const bool wait = literals == Literals::Synchronising ||
                          (literals == Literals::Minus && part.bytes.size() > kLiteralMinusLimit);
        piece += '{' + QByteArray::number(part.bytes.size()) + (wait ? "}\r\n" : "+}\r\n");
        if (wait)
            pieces.append(std::exchange(piece, {}));
        piece += part.bytes;
    }
    pieces.append(piece + "\r\n");
    return pieces;
}

QByteArray ImapCommand::describe(QByteArrayView tag) const {
    QByteArray text(tag.data(), tag.size());
    if (!text.isEmpty())
        text += ' ';
    text += m_verb;
    for (const Part& part : m_parts) {
        text += ' ';
        if (part.secret)
            text += "***";
        else if (part.literal)
            text += '{' + QByteArray::number(part.bytes.size()) + '}';
        else
            text += part.bytes;
    }
    return text;
}

} // namespace velmora::imap
