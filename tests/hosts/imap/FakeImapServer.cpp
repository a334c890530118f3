#include "hosts/imap/FakeImapServer.h"

#include <QFile>
#include <QSslKey>
#include <QTest>

namespace velmora::test {

FakeImapServer::FakeImapServer(const QString& certificate, const QString& key, Start start)
    : m_certificate(certificate), m_key(key), m_start(start) {
    listen(QHostAddress::LocalHost, 0);
}

void FakeImapServer::incomingConnection(qintptr descriptor) {
    if (m_client) {
        QTcpSocket refused;
        refused.setSocketDescriptor(descriptor);
        refused.abort();
        return;
    }
    auto* client = new QSslSocket(this);
    client->setSocketDescriptor(descriptor);
    client->setLocalCertificate(m_certificate);
    QFile keyFile(m_key);
    keyFile.open(QIODevice::ReadOnly);
    client->setPrivateKey(QSslKey(&keyFile, QSsl::Ec));
    connect(client, &QSslSocket::readyRead, this,
            [this, client] { m_received += client->readAll(); });
    m_client = client;
    if (m_start == Start::ImplicitTls)
        client->startServerEncryption();
}

bool FakeImapServer::waitForClient(int timeoutMs) {
    return QTest::qWaitFor(
        [this] { return m_client && (m_start == Start::Plain || m_client->isEncrypted()); },
        timeoutMs);
}

void FakeImapServer::send(const QByteArray& bytes) {
    if (m_client)
        m_client->write(bytes);
}

QByteArray FakeImapServer::nextLine(int timeoutMs) {
    if (!QTest::qWaitFor([this] { return m_received.contains("\r\n"); }, timeoutMs))
        return QByteArrayLiteral("<nothing>");
    const qsizetype end = m_received.indexOf("\r\n");
    const QByteArray line = m_received.left(end);
    m_received.remove(0, end + 2);
    return line;
}

QByteArray FakeImapServer::nextBytes(qsizetype size, int timeoutMs) {
    (void)QTest::qWaitFor([this, size] { return m_received.size() >= size; }, timeoutMs);
    const QByteArray bytes = m_received.left(size);
    m_received.remove(0, bytes.size());
    return bytes;
}

bool FakeImapServer::quietFor(int ms) {
    QTest::qWait(ms);
    return m_received.isEmpty();
}

void FakeImapServer::startTls() {
    if (m_client)
        m_client->startServerEncryption();
}

void FakeImapServer::drop() {
    if (m_client)
        m_client->abort();
}

} // namespace velmora::test
