#pragma once

#include <QByteArray>
#include <QPointer>
#include <QSslSocket>
#include <QTcpServer>

namespace velmora::test {

// The server side of a conversation, written out by the test: a loopback
// listener taking one client, over TLS with the test certificates (or in
// the clear until startTls(), for STARTTLS). The test reads what the client
// sent line by line and answers with send(); the waits run the event loop,
// so the client under test works meanwhile.
class FakeImapServer final : public QTcpServer {
public:
    enum class Start { ImplicitTls, Plain };

    FakeImapServer(const QString& certificate, const QString& key,
                   Start start = Start::ImplicitTls);

    quint16 port() const { return serverPort(); }
    // Runs the loop until a client has connected (and finished its TLS
    // handshake when it starts with TLS).
    bool waitForClient(int timeoutMs = 5000);
    void send(const QByteArray& bytes);
    // The next line the client sent, without its CR LF; "<nothing>" when none
    // came in time.
    QByteArray nextLine(int timeoutMs = 5000);
    // The next `size` bytes (a literal's), or what came in time.
    QByteArray nextBytes(qsizetype size, int timeoutMs = 5000);
    // Whether the client sent anything more within `ms`.
    bool quietFor(int ms);
    void startTls();
    // Cuts the connection without a word, as a dying server or network does.
    void drop();

protected:
    void incomingConnection(qintptr descriptor) override;

private:
    QString m_certificate;
    QString m_key;
    Start m_start;
    QPointer<QSslSocket> m_client;
    QByteArray m_received;
};

} // namespace velmora::test
