#pragma once

#include "hosts/imap/ImapResponse.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>

namespace velmora::imap {

// Turns the bytes a server sends, in whatever chunks the network delivers
// them, into complete responses. A response ends at the CR LF of a line that
// does not announce a literal; a line of a data response ending in `{n}`,
// `{n+}` or `~{n}` is followed by n raw bytes and then more of the same
// response. The text of OK/NO/BAD/BYE/PREAUTH and of a continuation is plain
// text, so a status line that happens to end in `{5}` ends the response.
//
// Each chunk is scanned once: the parser remembers how far it has looked and
// how much of a literal is still to come, so a 50 MB message arriving in 16 kB
// pieces costs no more than one pass.
//
// The first unreadable response stops the parser for good (failed() and
// error() tell why, naming the line): after garbage there is no telling where
// the next response begins, and the connection has to be dropped anyway.
class ImapParser {
public:
    static constexpr qint64 kDefaultMaxLiteral = 256 * 1024 * 1024;
    static constexpr qsizetype kMaxLine = 1024 * 1024;

    explicit ImapParser(qint64 maxLiteral = kDefaultMaxLiteral) : m_maxLiteral(maxLiteral) {}

    // Adds bytes and returns every response they complete, in order. After a
    // failure it returns nothing more.
    QList<ImapResponse> feed(QByteArrayView bytes);

    bool failed() const { return !m_error.isEmpty(); }
    // "cannot read the server's response: <why> in: <the line>".
    QString error() const { return m_error; }
    // Bytes received that belong to no complete response yet.
    bool hasPendingBytes() const { return m_buffer.size() > m_start; }
    // Forgets everything (after STARTTLS the plain-text state must not leak
    // into the encrypted session).
    void reset();

    // Reads one complete response (all its lines and literals, CR LF at the
    // end). Exposed for tests and for a caller that frames by itself. Returns
    // false with `why` set when the bytes are not a valid response.
    static bool parseResponse(const QByteArray& bytes, ImapResponse& out, QString& why);

private:
    bool frameNext(); // true when one more response was completed
    void fail(const QString& why, QByteArrayView line);

    qint64 m_maxLiteral;
    QByteArray m_buffer;
    qsizetype m_start = 0;       // where the response being framed begins
    qsizetype m_scan = 0;        // where to look for the next line end
    qsizetype m_lineStart = 0;   // where the line being read begins
    qint64 m_literalLeft = 0;    // literal bytes still to skip
    bool m_firstLine = true;     // no line of this response seen yet
    bool m_textResponse = false; // a status or continuation: no literals
    QList<ImapResponse> m_ready;
    QString m_error;
};

} // namespace velmora::imap
