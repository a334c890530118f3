#include "hosts/imap/FakeImapServer.h"
#include "hosts/imap/TestCertificates.h"

#include "hosts/imap/ImapClient.h"
#include "hosts/imap/ImapConnection.h"
#include "hosts/imap/OAuthTokens.h"
#include "hosts/imap/SaslMechanisms.h"

#include "support/TestSupport.h"

#include <QFile>
#include <QSslKey>
#include <QSslServer>
#include <QTest>
#include <QUrlQuery>

#include <memory>

using namespace velmora::imap;
using namespace velmora::test;

namespace {

// Catches one callback's result and waits for it on the event loop.
template <class T = int>
struct Awaited {
    std::optional<ImapResult> result;
    T data{};

    std::function<void(const ImapResult&, const T&)> then() {
        return [this](const ImapResult& r, const T& d) {
            EXPECT_FALSE(result) << "called twice";
            result = r;
            data = d;
        };
    }
    ImapConnection::Done done() {
        return [this](const ImapResult& r) {
            EXPECT_FALSE(result) << "called twice";
            result = r;
        };
    }
    bool wait(int ms = 5000) {
        return QTest::qWaitFor([this] { return result.has_value(); }, ms);
    }
};

// A client connected to a fake server that greeted it with `greeting`.
struct Conversation {
    std::unique_ptr<FakeImapServer> server;
    ImapConnection connection;
    ImapClient client{connection};
    QStringList failures;

    // Skips (returns false) without certificates; fails when not connected.
    bool open(const QByteArray& greeting, int timeoutMs = 5000) {
        QString why;
        const TestCertificates* certificates = TestCertificates::get(&why);
        if (!certificates)
            return false;
        server = std::make_unique<FakeImapServer>(certificates->localhost.certificate,
                                                  certificates->localhost.key);
        connection.setFailureHandler([this](const QString& reason) { failures.append(reason); });
        ImapEndpoint endpoint;
        endpoint.host = QStringLiteral("localhost");
        endpoint.port = server->port();
        endpoint.caFile = certificates->caFile;
        endpoint.timeoutMs = timeoutMs;
        Awaited<> opened;
        connection.open(endpoint, opened.done());
        EXPECT_TRUE(server->waitForClient());
        server->send(greeting);
        EXPECT_TRUE(opened.wait());
        EXPECT_TRUE(opened.result && opened.result->ok())
            << (opened.result ? opened.result->describe().toStdString() : "no answer");
        return true;
    }
};

// The provider's token endpoint on loopback, over TLS with a test
// certificate: each POST gets the next scripted answer, and its form is kept.
class FakeTokenEndpoint final : public QSslServer {
public:
    struct Answer {
        int status;
        QByteArray json;
    };

    explicit FakeTokenEndpoint(const TestCertificates::Pair& pair) {
        QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
        tls.setLocalCertificate(QSslCertificate::fromPath(pair.certificate).value(0));
        QFile key(pair.key);
        (void)key.open(QIODevice::ReadOnly);
        tls.setPrivateKey(QSslKey(&key, QSsl::Ec));
        tls.setPeerVerifyMode(QSslSocket::VerifyNone);
        setSslConfiguration(tls);
        connect(this, &QTcpServer::pendingConnectionAvailable, this, [this] {
            while (QTcpSocket* socket = nextPendingConnection())
                serve(socket);
        });
        listen(QHostAddress::LocalHost, 0);
    }

    QUrl url() const {
        return QUrl(QStringLiteral("https://localhost:%1/token").arg(serverPort()));
    }

    QList<Answer> answers;
    QList<QUrlQuery> forms;

private:
    void serve(QTcpSocket* socket) {
        auto received = std::make_shared<QByteArray>();
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QTcpSocket::readyRead, this, [this, socket, received] {
            *received += socket->readAll();
            const qsizetype end = received->indexOf("\r\n\r\n");
            if (end < 0)
                return;
            qsizetype length = 0;
            for (const QByteArray& line : received->left(end).split('\n'))
                if (line.toLower().startsWith("content-length:"))
                    length = line.mid(15).trimmed().toLongLong();
            if (received->size() < end + 4 + length)
                return;
            forms.append(QUrlQuery(QString::fromUtf8(received->mid(end + 4, length))));
            received->clear();
            const Answer answer = answers.isEmpty() ? Answer{500, "{}"} : answers.takeFirst();
            socket->write("HTTP/1.1 " + QByteArray::number(answer.status) +
                          " Scripted\r\nContent-Type: application/json\r\nContent-Length: " +
                          QByteArray::number(answer.json.size()) + "\r\nConnection: close\r\n\r\n" +
                          answer.json);
            socket->disconnectFromHost();
        });
    }
};

#define OPEN_OR_SKIP(conversation, greeting)                                                       \
    do {                                                                                           \
        QString whyNot;                                                                            \
        if (!TestCertificates::get(&whyNot))                                                       \
            GTEST_SKIP() << whyNot.toStdString();                                                  \
        ASSERT_TRUE((conversation).open(greeting));                                                \
    } while (false)

} // namespace

TEST(ImapConnection, LogsInThenRunsQueuedCommandsOneAtATime) {
    Conversation c;
    OPEN_OR_SKIP(c, "* OK [CAPABILITY IMAP4rev1 SASL-IR AUTH=PLAIN LITERAL+] ready\r\n");
    EXPECT_TRUE(c.connection.hasCapability("sasl-ir"));

    Awaited<> login;
    c.connection.login(
        {ImapCredentials::Method::Password, QStringLiteral("anna"), QStringLiteral("pässword"), {}},
        login.done());
    EXPECT_EQ(c.server->nextLine(),
              "V1 AUTHENTICATE PLAIN " +
                  sasl::plain(QStringLiteral("anna"), QStringLiteral("pässword")));
    c.server->send("V1 OK [CAPABILITY IMAP4rev1 IDLE UIDPLUS MOVE ENABLE] Logged in\r\n");
    ASSERT_TRUE(login.wait());
    EXPECT_TRUE(login.result->ok());
    // Capabilities are those after login, not those of the greeting.
    EXPECT_TRUE(c.connection.hasCapability("MOVE"));
    EXPECT_FALSE(c.connection.hasCapability("SASL-IR"));

    Awaited<SelectedMailbox> select;
    Awaited<QList<FetchedMessage>> fetch;
    c.client.select(QStringLiteral("INBOX"), false, std::nullopt, select.then());
    c.client.fetchKeys(UidSet{7}, fetch.then());
    EXPECT_EQ(c.server->nextLine(), "V2 SELECT INBOX");
    EXPECT_TRUE(c.server->quietFor(100)) << "the second command went out before the first ended";
    c.server->send("* 3 EXISTS\r\n* OK [UIDVALIDITY 1711] UIDs valid\r\n* OK [UIDNEXT 9] next\r\n"
                   "V2 OK [READ-WRITE] Select completed.\r\n");
    ASSERT_TRUE(select.wait());
    EXPECT_EQ(select.data.exists, 3u);
    EXPECT_EQ(select.data.uidValidity, 1711u);
    EXPECT_EQ(select.data.uidNext, 9u);
    EXPECT_FALSE(select.data.highestModSeq);

    EXPECT_EQ(c.server->nextLine(), "V3 UID FETCH 7 (UID FLAGS RFC822.SIZE INTERNALDATE "
                                    "BODY.PEEK[HEADER.FIELDS (MESSAGE-ID)])");
    // The literal arrives in two pieces with an unsolicited update between
    // the FETCH and the tagged answer.
    c.server->send(
        "* 2 FETCH (UID 7 FLAGS () RFC822.SIZE 99 BODY[HEADER.FIELDS (MESSAGE-ID)] {21}\r\n"
        "Message-ID: <m");
    QTest::qWait(50);
    c.server->send("@x>\r\n\r\n)\r\n* 4 EXISTS\r\nV3 OK Fetch completed.\r\n");
    ASSERT_TRUE(fetch.wait());
    ASSERT_EQ(fetch.data.size(), 1);
    EXPECT_EQ(fetch.data[0].uid, 7u);
    EXPECT_EQ(fetch.data[0].size, 99);
    EXPECT_EQ(messageIdOf(*fetch.data[0].headerFields), QStringLiteral("<m@x>"));
    EXPECT_EQ(fetch.result->untagged.size(), 2); // the FETCH and the EXISTS
    EXPECT_TRUE(c.failures.isEmpty());
}

// Without LITERAL+ a literal waits for the server's "+"; a server that
// refuses the command instead gets no literal, and the session goes on.
TEST(ImapConnection, LiteralsAndSaslWaitForTheContinuation) {
    Conversation c;
    OPEN_OR_SKIP(c, "* OK [CAPABILITY IMAP4rev1 AUTH=PLAIN UIDPLUS] ready\r\n");
    Awaited<> login;
    c.connection.login(
        {ImapCredentials::Method::Password, QStringLiteral("anna"), QStringLiteral("pw"), {}},
        login.done());
    EXPECT_EQ(c.server->nextLine(), "V1 AUTHENTICATE PLAIN");
    c.server->send("+ \r\n");
    EXPECT_EQ(c.server->nextLine(), sasl::plain(QStringLiteral("anna"), QStringLiteral("pw")));
    c.server->send("V1 OK Logged in\r\n");
    // No capabilities with the answer: they are asked for.
    EXPECT_EQ(c.server->nextLine(), "V2 CAPABILITY");
    c.server->send("* CAPABILITY IMAP4rev1 UIDPLUS IDLE\r\nV2 OK done\r\n");
    ASSERT_TRUE(login.wait());
    EXPECT_TRUE(login.result->ok());
    EXPECT_TRUE(c.connection.hasCapability("IDLE"));

    const QByteArray message = "Subject: hi\r\n\r\nbody\r\n";
    const QDateTime when(QDate(2024, 3, 1), QTime(8, 30, 0), Qt::OffsetFromUTC, 3600);
    Awaited<std::optional<AppendUid>> append;
    c.client.append(QStringLiteral("Junk"), message, {"\\Seen"}, when, append.then());
    EXPECT_EQ(c.server->nextLine(), "V3 APPEND Junk (\\Seen) \"01-Mar-2024 08:30:00 +0100\" {21}");
    EXPECT_TRUE(c.server->quietFor(100)) << "the literal went out before the server's +";
    c.server->send("+ Ready for literal data\r\n");
    EXPECT_EQ(c.server->nextBytes(message.size()), message);
    EXPECT_EQ(c.server->nextLine(), "");
    c.server->send("V3 OK [APPENDUID 7 12] Append completed.\r\n");
    ASSERT_TRUE(append.wait());
    ASSERT_TRUE(append.data);
    EXPECT_EQ(append.data->uid, 12u);

    Awaited<std::optional<AppendUid>> refused;
    c.client.append(QStringLiteral("Junk"), message, {}, QDateTime(), refused.then());
    EXPECT_EQ(c.server->nextLine(), "V4 APPEND Junk {21}");
    c.server->send("V4 NO [OVERQUOTA] Quota exceeded {5}\r\n");
    ASSERT_TRUE(refused.wait());
    EXPECT_EQ(refused.result->status, ImapResult::Status::No);
    EXPECT_EQ(refused.result->describe(), QStringLiteral("NO [OVERQUOTA] Quota exceeded {5}"));
    Awaited<> noop;
    c.connection.run(ImapCommand(QByteArrayLiteral("NOOP")), noop.done());
    EXPECT_EQ(c.server->nextLine(), "V5 NOOP"); // and not the refused literal
    c.server->send("V5 OK\r\n");
    ASSERT_TRUE(noop.wait());
    EXPECT_TRUE(c.failures.isEmpty());
}

// Which login goes out for which offer: PLAIN, else LOGIN; the token
// mechanisms; and nothing at all when nothing acceptable is offered.
TEST(ImapConnection, LoginMechanismFollowsWhatTheServerOffers) {
    const struct {
        const char* capabilities;
        ImapCredentials::Method method;
        const char* secret;
        QByteArray sent;      // the client's line
        QByteArray challenge; // the server's "+" line, if any
        QByteArray reply;     // the client's answer to it
        const char* result;
    } cases[] = {
        {"IMAP4rev1", ImapCredentials::Method::Password, "se cret", "V1 LOGIN anna \"se cret\"", "",
         "", "OK"},
        {"IMAP4rev1 LOGINDISABLED", ImapCredentials::Method::Password, "pw", "", "", "",
         "does not offer AUTHENTICATE PLAIN or LOGIN"},
        {"IMAP4rev1 SASL-IR AUTH=XOAUTH2", ImapCredentials::Method::XOAuth2, "tok",
         "V1 AUTHENTICATE XOAUTH2 " + sasl::xoauth2(QStringLiteral("anna"), QStringLiteral("tok")),
         // An error in JSON, to which a client answers with an empty line.
         "+ eyJzdGF0dXMiOiI0MDEifQ==", "", "NO [AUTHENTICATIONFAILED] Invalid credentials"},
        {"IMAP4rev1 AUTH=OAUTHBEARER", ImapCredentials::Method::OAuthBearer, "tok",
         "V1 AUTHENTICATE OAUTHBEARER", "+ ", "(the token for this host and port)", "OK"},
        {"IMAP4rev1 AUTH=PLAIN", ImapCredentials::Method::XOAuth2, "tok", "", "", "",
         "does not offer AUTHENTICATE XOAUTH2"},
    };
    for (const auto& t : cases) {
        SCOPED_TRACE(t.capabilities);
        Conversation c;
        OPEN_OR_SKIP(c, "* OK [CAPABILITY " + QByteArray(t.capabilities) + "] hi\r\n");
        Awaited<> login;
        c.connection.login({t.method, QStringLiteral("anna"), QString::fromUtf8(t.secret), {}},
                           login.done());
        if (t.sent.isEmpty()) {
            EXPECT_TRUE(c.server->quietFor(100));
        } else {
            EXPECT_EQ(c.server->nextLine(), t.sent);
            if (!t.challenge.isEmpty()) {
                c.server->send(t.challenge + "\r\n");
                QByteArray reply = t.reply;
                if (t.method == ImapCredentials::Method::OAuthBearer)
                    reply = sasl::oauthBearer(QStringLiteral("anna"), QStringLiteral("tok"),
                                              QStringLiteral("localhost"), c.server->port());
                EXPECT_EQ(c.server->nextLine(), reply);
            }
            c.server->send("V1 " + QByteArray(t.result) +
                           (QByteArray(t.result) == "OK" ? " [CAPABILITY IMAP4rev1] in" : "") +
                           "\r\n");
        }
        ASSERT_TRUE(login.wait());
        EXPECT_TRUE(login.result->describe().contains(QString::fromUtf8(t.result)))
            << login.result->describe().toStdString();
    }
}

TEST(ImapConnection, IdleDeliversUpdatesUntilDone) {
    Conversation c;
    OPEN_OR_SKIP(c, "* PREAUTH [CAPABILITY IMAP4rev1 IDLE UIDPLUS] logged in\r\n");
    QStringList updates;
    int started = 0;
    Awaited<> idle;
    const auto onUpdate = [&](const ImapResponse& r) { updates.append(r.describe()); };
    c.connection.idle(
        onUpdate, [&] { ++started; }, idle.done());
    EXPECT_EQ(c.server->nextLine(), "V1 IDLE");
    EXPECT_FALSE(c.connection.isIdling());
    c.server->send("+ idling\r\n");
    ASSERT_TRUE(QTest::qWaitFor([&] { return started == 1; }, 5000));
    EXPECT_TRUE(c.connection.isIdling());
    c.server->send("* 4 EXISTS\r\n* VANISHED 3\r\n");
    ASSERT_TRUE(QTest::qWaitFor([&] { return updates.size() == 2; }, 5000));

    // A command while idling ends IDLE first; what the server still reports
    // before its OK is news too.
    Awaited<> noop;
    c.connection.run(ImapCommand(QByteArrayLiteral("NOOP")), noop.done());
    EXPECT_EQ(c.server->nextLine(), "DONE");
    EXPECT_TRUE(c.server->quietFor(100));
    c.server->send("* 5 EXISTS\r\nV1 OK Idle completed.\r\n");
    ASSERT_TRUE(idle.wait());
    EXPECT_TRUE(idle.result->ok());
    EXPECT_EQ(updates, (QStringList{QStringLiteral("* 4 EXISTS"), QStringLiteral("* VANISHED 3"),
                                    QStringLiteral("* 5 EXISTS")}));
    EXPECT_EQ(c.server->nextLine(), "V2 NOOP");
    c.server->send("V2 OK\r\n");
    ASSERT_TRUE(noop.wait());

    // Stopped before the server confirmed: DONE waits for the "+".
    Awaited<> early;
    c.connection.idle(
        onUpdate, [&] { ++started; }, early.done());
    EXPECT_EQ(c.server->nextLine(), "V3 IDLE");
    c.connection.stopIdle();
    EXPECT_TRUE(c.server->quietFor(100));
    c.server->send("+ idling\r\n");
    EXPECT_EQ(c.server->nextLine(), "DONE");
    c.server->send("V3 OK Idle completed.\r\n");
    ASSERT_TRUE(early.wait());
    EXPECT_EQ(started, 1);
    EXPECT_TRUE(c.failures.isEmpty());
}

// A connection lost, a server gone silent, or an unreadable answer: each is
// one failure naming the server and the cause, and every waiting command
// gets it too.
TEST(ImapConnection, LostConnectionsAreOneClearError) {
    Conversation dropped;
    OPEN_OR_SKIP(dropped, "* PREAUTH [CAPABILITY IMAP4rev1 IDLE] hi\r\n");
    Awaited<> idle;
    bool started = false;
    dropped.connection.idle(
        {}, [&] { started = true; }, idle.done());
    EXPECT_EQ(dropped.server->nextLine(), "V1 IDLE");
    dropped.server->send("+ idling\r\n");
    ASSERT_TRUE(QTest::qWaitFor([&] { return started; }, 5000));
    dropped.server->drop();
    ASSERT_TRUE(idle.wait());
    const QString name = QStringLiteral("localhost:%1").arg(dropped.server->port());
    EXPECT_EQ(idle.result->status, ImapResult::Status::Failed);
    EXPECT_EQ(idle.result->text,
              name + QStringLiteral(": the server closed the connection (while waiting for the "
                                    "answer to V1 IDLE)"));
    EXPECT_EQ(dropped.failures, QStringList{idle.result->text});
    Awaited<> after;
    dropped.connection.run(ImapCommand(QByteArrayLiteral("NOOP")), after.done());
    ASSERT_TRUE(after.wait());
    EXPECT_EQ(after.result->status, ImapResult::Status::Failed);
    QTest::qWait(50);
    EXPECT_EQ(dropped.failures.size(), 1);

    Conversation silent;
    ASSERT_TRUE(silent.open("* PREAUTH [CAPABILITY IMAP4rev1] hi\r\n", 300));
    Awaited<> first;
    Awaited<> second;
    silent.connection.run(ImapCommand(QByteArrayLiteral("NOOP")), first.done());
    silent.connection.run(ImapCommand(QByteArrayLiteral("NOOP")), second.done());
    ASSERT_TRUE(second.wait());
    EXPECT_EQ(first.result->text,
              QStringLiteral("localhost:%1: no answer from the server within 0.3 s (while waiting "
                             "for the answer to V1 NOOP)")
                  .arg(silent.server->port()));
    EXPECT_EQ(second.result->text, first.result->text);
    EXPECT_EQ(silent.failures, QStringList{first.result->text});

    Conversation garbled;
    ASSERT_TRUE(garbled.open("* PREAUTH [CAPABILITY IMAP4rev1] hi\r\n"));
    Awaited<> fetch;
    garbled.connection.run(ImapCommand(QByteArrayLiteral("UID FETCH 1 FLAGS")), fetch.done());
    garbled.server->nextLine();
    garbled.server->send("* 1 FETCH (UID 1 FLAGS (\\Seen)))\r\n");
    ASSERT_TRUE(fetch.wait());
    EXPECT_TRUE(fetch.result->text.startsWith(
        QStringLiteral("localhost:%1: cannot read the server's response: a ) that closes nothing")
            .arg(garbled.server->port())))
        << fetch.result->text.toStdString();
    EXPECT_TRUE(
        fetch.result->text.endsWith(QStringLiteral("in: * 1 FETCH (UID 1 FLAGS (\\Seen)))")));
}

// A move is UID MOVE where offered; else a copy, then exactly the copied
// UIDs marked and expunged; and never with a plain EXPUNGE.
TEST(ImapConnection, MovesTouchOnlyTheMessagesMoved) {
    Conversation withMove;
    OPEN_OR_SKIP(withMove, "* PREAUTH [CAPABILITY IMAP4rev1 MOVE UIDPLUS] hi\r\n");
    Awaited<std::optional<CopyUid>> moved;
    withMove.client.move(UidSet{3, 4, 5, 9}, QStringLiteral("Junk"), moved.then());
    EXPECT_EQ(withMove.server->nextLine(), "V1 UID MOVE 3:5,9 Junk");
    withMove.server->send(
        "* OK [COPYUID 9 3:5,9 10:13] Moved UIDs.\r\n* 1 EXPUNGE\r\nV1 OK Move completed.\r\n");
    ASSERT_TRUE(moved.wait());
    ASSERT_TRUE(moved.data);
    EXPECT_EQ(moved.data->moved.last(), (std::pair<quint32, quint32>{9, 13}));

    Conversation uidplus;
    ASSERT_TRUE(uidplus.open("* PREAUTH [CAPABILITY IMAP4rev1 UIDPLUS] hi\r\n"));
    Awaited<std::optional<CopyUid>> copied;
    uidplus.client.move(UidSet{3, 4, 5}, QStringLiteral("Spam"), copied.then());
    EXPECT_EQ(uidplus.server->nextLine(), "V1 UID COPY 3:5 Spam");
    uidplus.server->send("V1 OK [COPYUID 9 3:5 10:12] Copy completed.\r\n");
    EXPECT_EQ(uidplus.server->nextLine(), "V2 UID STORE 3:5 +FLAGS.SILENT (\\Deleted)");
    uidplus.server->send("V2 OK Store completed.\r\n");
    EXPECT_EQ(uidplus.server->nextLine(), "V3 UID EXPUNGE 3:5");
    uidplus.server->send(
        "* 3 EXPUNGE\r\n* 3 EXPUNGE\r\n* 3 EXPUNGE\r\nV3 OK Expunge completed.\r\n");
    ASSERT_TRUE(copied.wait());
    EXPECT_TRUE(copied.result->ok());
    ASSERT_TRUE(copied.data);
    EXPECT_EQ(copied.data->moved.size(), 3);

    Conversation neither;
    ASSERT_TRUE(neither.open("* PREAUTH [CAPABILITY IMAP4rev1] hi\r\n"));
    Awaited<std::optional<CopyUid>> refused;
    Awaited<> expunge;
    neither.client.move(UidSet{3}, QStringLiteral("Junk"), refused.then());
    neither.client.expunge(UidSet{3}, expunge.done());
    ASSERT_TRUE(refused.wait());
    ASSERT_TRUE(expunge.wait());
    EXPECT_TRUE(neither.server->quietFor(100)) << "something was sent";
    EXPECT_EQ(refused.result->status, ImapResult::Status::Failed);
    EXPECT_TRUE(refused.result->text.contains(QStringLiteral("neither MOVE nor UIDPLUS")));
    EXPECT_TRUE(expunge.result->text.contains(QStringLiteral("does not offer UIDPLUS")));
}

// STARTTLS is required when asked for, and nothing the server sends in the
// clear after agreeing to it is believed.
TEST(ImapConnection, StartTlsIsNeverSkipped) {
    QString why;
    const TestCertificates* certificates = TestCertificates::get(&why);
    if (!certificates)
        GTEST_SKIP() << why.toStdString();
    const struct {
        QByteArray greeting;
        QByteArray afterStartTls; // the server's answer to STARTTLS, if it gets one
        const char* error;
    } cases[] = {
        {"* OK [CAPABILITY IMAP4rev1 AUTH=PLAIN] hi\r\n", "",
         "the server does not offer STARTTLS; nothing is sent in the clear"},
        {"* OK [CAPABILITY IMAP4rev1 STARTTLS] hi\r\n",
         "V1 OK Begin TLS\r\n* CAPABILITY IMAP4rev1 AUTH=PLAIN\r\n",
         "the server sent more after agreeing to STARTTLS"},
        {"* OK [CAPABILITY IMAP4rev1 STARTTLS] hi\r\n", "V1 BAD no\r\n",
         "STARTTLS refused: BAD no"},
        {"* PREAUTH [CAPABILITY IMAP4rev1 STARTTLS] hi\r\n", "",
         "the server logged in before STARTTLS"},
    };
    for (const auto& t : cases) {
        SCOPED_TRACE(t.error);
        FakeImapServer server(certificates->localhost.certificate, certificates->localhost.key,
                              FakeImapServer::Start::Plain);
        ImapConnection connection;
        ImapEndpoint endpoint;
        endpoint.host = QStringLiteral("localhost");
        endpoint.port = server.port();
        endpoint.security = ImapEndpoint::Security::StartTls;
        endpoint.caFile = certificates->caFile;
        Awaited<> opened;
        connection.open(endpoint, opened.done());
        ASSERT_TRUE(server.waitForClient());
        server.send(t.greeting);
        if (!t.afterStartTls.isEmpty()) {
            EXPECT_EQ(server.nextLine(), "V1 STARTTLS");
            server.send(t.afterStartTls);
        }
        ASSERT_TRUE(opened.wait());
        EXPECT_EQ(opened.result->status, ImapResult::Status::Failed);
        EXPECT_TRUE(opened.result->text.contains(QString::fromUtf8(t.error)))
            << opened.result->text.toStdString();
        EXPECT_TRUE(server.quietFor(50));
    }
}

// With a refresh token, each login asks the provider's token endpoint for an
// access token (TLS verified as for IMAP), keeps it while it lasts, renews it
// before it expires, and replaces it once when the server refuses it. A
// refused refresh is one clear error naming the endpoint and the provider's
// reason, and no token goes to the server.
TEST(ImapConnection, OAuthRefreshTokensAreExchangedAtTheTokenEndpoint) {
    QString why;
    const TestCertificates* certificates = TestCertificates::get(&why);
    if (!certificates)
        GTEST_SKIP() << why.toStdString();
    FakeTokenEndpoint endpoint(certificates->localhost);
    const auto tokensFor = [&](const QUrl& url) {
        return std::make_shared<OAuthTokens>(OAuthTokens::Client{url, QStringLiteral("client-7"),
                                                                 QStringLiteral("sh h"),
                                                                 certificates->caFile, 5000},
                                             QStringLiteral("rt/refresh+token"));
    };
    const auto tokens = tokensFor(endpoint.url());
    const ImapCredentials credentials{ImapCredentials::Method::XOAuth2, QStringLiteral("anna"),
                                      QString(), tokens};
    const QByteArray greeting = "* OK [CAPABILITY IMAP4rev1 SASL-IR AUTH=XOAUTH2] hi\r\n";
    const auto authenticate = [](const char* token) {
        return "V1 AUTHENTICATE XOAUTH2 " +
               sasl::xoauth2(QStringLiteral("anna"), QString::fromLatin1(token));
    };

    // The first token is refused by the server: one new token, one more try.
    endpoint.answers = {{200, R"({"access_token":"at-1","expires_in":3600})"},
                        {200, R"({"access_token":"at-2","expires_in":"2"})"},
                        {200, R"({"access_token":"at-3","token_type":"Bearer"})"}};
    Conversation first;
    OPEN_OR_SKIP(first, greeting);
    Awaited<> login;
    first.connection.login(credentials, login.done());
    EXPECT_EQ(first.server->nextLine(), authenticate("at-1"));
    first.server->send("V1 NO [AUTHENTICATIONFAILED] Invalid credentials\r\n");
    EXPECT_EQ(first.server->nextLine(),
              "V2 AUTHENTICATE XOAUTH2 " +
                  sasl::xoauth2(QStringLiteral("anna"), QStringLiteral("at-2")));
    first.server->send("V2 OK [CAPABILITY IMAP4rev1 IDLE] in\r\n");
    ASSERT_TRUE(login.wait());
    EXPECT_TRUE(login.result->ok()) << login.result->describe().toStdString();
    ASSERT_EQ(endpoint.forms.size(), 2);
    const QUrlQuery& form = endpoint.forms.first();
    EXPECT_EQ(form.queryItemValue(QStringLiteral("grant_type")), QStringLiteral("refresh_token"));
    EXPECT_EQ(form.queryItemValue(QStringLiteral("refresh_token"), QUrl::FullyDecoded),
              QStringLiteral("rt/refresh+token"));
    EXPECT_EQ(form.queryItemValue(QStringLiteral("client_id")), QStringLiteral("client-7"));
    EXPECT_EQ(form.queryItemValue(QStringLiteral("client_secret"), QUrl::FullyDecoded),
              QStringLiteral("sh h"));

    // at-2 lives two seconds: it is renewed before it expires, unasked, and
    // the next connection logs in with the new one without a refresh of its own.
    ASSERT_TRUE(QTest::qWaitFor([&] { return tokens->refreshes() == 3; }, 10'000));
    Conversation second;
    OPEN_OR_SKIP(second, greeting);
    Awaited<> again;
    second.connection.login(credentials, again.done());
    EXPECT_EQ(second.server->nextLine(), authenticate("at-3"));
    second.server->send("V1 OK [CAPABILITY IMAP4rev1] in\r\n");
    ASSERT_TRUE(again.wait());
    EXPECT_TRUE(again.result->ok());
    EXPECT_EQ(endpoint.forms.size(), 3);
    EXPECT_TRUE(first.failures.isEmpty() && second.failures.isEmpty());

    // A refresh token the provider no longer honours, and an endpoint whose
    // certificate comes from a CA not trusted here: the login fails at once,
    // naming the endpoint and the cause; the server is told nothing.
    endpoint.answers = {
        {400, R"({"error":"invalid_grant","error_description":"Token has been revoked."})"}};
    FakeTokenEndpoint stranger(certificates->stranger);
    const struct {
        QUrl url;
        QString expected;
    } refusals[] = {
        {endpoint.url(), QStringLiteral("the token endpoint %1 refused the refresh token: "
                                        "invalid_grant (Token has been revoked.)")
                             .arg(endpoint.url().toString())},
        {stranger.url(), QStringLiteral("the token endpoint %1 could not be reached: ")
                             .arg(stranger.url().toString())},
    };
    for (const auto& refusal : refusals) {
        SCOPED_TRACE(refusal.url.toString().toStdString());
        Conversation refused;
        OPEN_OR_SKIP(refused, greeting);
        Awaited<> failed;
        refused.connection.login({ImapCredentials::Method::OAuthBearer, QStringLiteral("anna"),
                                  QString(), tokensFor(refusal.url)},
                                 failed.done());
        ASSERT_TRUE(failed.wait());
        EXPECT_EQ(failed.result->status, ImapResult::Status::Failed);
        EXPECT_TRUE(failed.result->text.startsWith(refusal.expected))
            << failed.result->text.toStdString();
        EXPECT_FALSE(failed.result->text.contains(QStringLiteral("refresh+token")));
        EXPECT_EQ(refused.failures, QStringList{failed.result->text});
        EXPECT_TRUE(refused.server->quietFor(100));
    }
}
