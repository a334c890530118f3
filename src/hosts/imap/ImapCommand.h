#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QByteArrayView>
#include <QList>
#include <QString>

namespace velmora::imap {

// One command to send, built from its parts so that strings are quoted or
// sent as literals as their bytes require, and encoded only once the tag and
// the server's literal extensions are known:
//
//   ImapCommand(QByteArrayLiteral("APPEND")).mailbox(u"Junk"_s)
//       .raw("(\\Seen)").literal(message);
//
// Encoding splits the command where a synchronising literal makes the client
// wait for the server's `+` before sending the literal's bytes.
class ImapCommand {
public:
    enum class Literals {
        Synchronising, // plain IMAP: `{n}`, then wait for `+`
        Plus,          // LITERAL+: `{n+}` for every size, no wait
        Minus,         // LITERAL-: `{n+}` up to 4096 bytes, larger ones wait
    };

    explicit ImapCommand(QByteArray verb) : m_verb(std::move(verb)) {}

    // Text sent as it is: atoms, numbers, sets, parenthesised lists the
    // caller wrote (`(UID FLAGS)`), `(\Seen \Flagged)`.
    ImapCommand& raw(QByteArrayView text);
    ImapCommand& number(quint64 value);
    // An astring: as an atom when it is one, quoted when it can be, else a
    // literal (8-bit bytes, CR, LF, NUL, or very long).
    ImapCommand& string(QByteArrayView bytes);
    // A mailbox name in modified UTF-7, then as string().
    ImapCommand& mailbox(const QString& name);
    // Always a literal (a message for APPEND).
    ImapCommand& literal(QByteArray bytes);
    // Hides the bytes of the last part in describe() (passwords, tokens).
    ImapCommand& secret();

    // Lines the server expects after each `+` once the command is fully sent
    // (SASL responses); when they run out an empty line answers the next `+`,
    // which is how a client takes note of a SASL error message and lets the
    // server fail the command.
    ImapCommand& continuationReply(QByteArray line);

    QByteArray verb() const { return m_verb; }
    const QByteArrayList& continuationReplies() const { return m_replies; }

    // The bytes to send, in pieces: after each piece but the last the client
    // waits for a `+` continuation. The last piece ends in CR LF.
    QList<QByteArray> encode(QByteArrayView tag, Literals literals) const;
    // The command for logs and error messages, secrets as `***`, literals as
    // `{n}`.
    QByteArray describe(QByteArrayView tag = "") const;

private:
    struct Part {
        QByteArray bytes;
        bool literal = false;
        bool secret = false;
    };

    QByteArray m_verb;
    QList<Part> m_parts;
    QByteArrayList m_replies;
};

// A string quoted for IMAP (`"a \"b\" \\c"`); only for bytes a quoted string
// can hold (no NUL, CR, LF, nor 8-bit).
QByteArray quoted(QByteArrayView bytes);

} // namespace velmora::imap
