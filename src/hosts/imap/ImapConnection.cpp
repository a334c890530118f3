#include "hosts/imap/ImapConnection.h"

#include "hosts/imap/ImapData.h"
#include "hosts/imap/OAuthTokens.h"
#include "hosts/imap/SaslMechanisms.h"

#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslSocket>
#include <QTimer>

namespace velmora::imap {

namespace {
ImapResult::Status statusOf(const QByteArray& word) {
    if (word == "OK")
        return ImapResult::Status::Ok;
    if (word == "NO")
        return ImapResult::Status::No;
    return ImapResult::Status::Bad;
}
} // namespace

ImapConnection::ImapConnection(QObject* parent)
    : QObject(parent), m_socket(new QSslSocket(this)), m_timer(new QTimer(this)),
      m_idleRenewal(new QTimer(this)) {
    m_timer->setSingleShot(true);
    m_idleRenewal->setSingleShot(true);
    connect(m_socket, &QSslSocket::readyRead, this, &ImapConnection::onReadyRead);
    connect(m_socket, &QSslSocket::encrypted, this, &ImapConnection::onEncrypted);
    connect(m_socket, &QSslSocket::sslErrors, this,
            [this](const QList<QSslError>& errors) { m_sslErrors = errors; });
    connect(m_socket, &QAbstractSocket::errorOccurred, this, &ImapConnection::onSocketError);
    connect(m_socket, &QAbstractSocket::disconnected, this, &ImapConnection::onDisconnected);
    connect(m_socket, &QAbstractSocket::connected, this, [this] {
        // With STARTTLS the greeting comes in the clear; with implicit TLS
        // only after the handshake (onEncrypted).
        if (m_phase == Phase::Connecting && m_endpoint.security == ImapEndpoint::Security::StartTls)
            m_phase = Phase::Greeting;
    });
    // A large APPEND takes a while to upload, and the server says nothing
    // until it has it all: progress in sending is not silence.
    connect(m_socket, &QSslSocket::encryptedBytesWritten, this, [this] {
        if (m_timer->isActive())
            m_timer->start();
    });
    connect(m_timer, &QTimer::timeout, this, [this] {
        fail(QStringLiteral("%1: no answer from the server within %2 s%3")
                 .arg(m_endpoint.name())
                 .arg(m_endpoint.timeoutMs / 1000.0)
                 .arg(describeWaiting()));
    });
    connect(m_idleRenewal, &QTimer::timeout, this, [this] {
        if (!isIdling())
            return;
        m_current->idleRenewing = true;
        m_current->doneSent = true;
        write(QByteArrayLiteral("DONE\r\n"));
        armTimer();
    });
}

ImapConnection::~ImapConnection() {
    m_phase = Phase::Closed;
    disconnect(m_socket, nullptr, this, nullptr);
    m_socket->abort();
}

void ImapConnection::open(const ImapEndpoint& endpoint, Done done) {
    if (m_phase != Phase::Closed) {
        post(std::move(done), ImapResult::failed(QStringLiteral("the connection is already open")));
        return;
    }
    m_endpoint = endpoint;
    m_openDone = std::move(done);
    m_phase = Phase::Connecting;

    QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
    tls.setPeerVerifyMode(QSslSocket::VerifyPeer);
    if (!endpoint.caFile.isEmpty()) {
        const QList<QSslCertificate> extra = QSslCertificate::fromPath(endpoint.caFile);
        if (extra.isEmpty()) {
            const QString reason = QStringLiteral("%1: no CA certificate could be read from %2")
                                       .arg(endpoint.name(), endpoint.caFile);
            QTimer::singleShot(0, this, [this, reason] { fail(reason); });
            return;
        }
        // Setting the list turns off the system's on-demand roots, so they
        // are put in explicitly beside the user's own CA.
        tls.setCaCertificates(QSslConfiguration::systemCaCertificates() + extra);
    }
    m_socket->setSslConfiguration(tls);
    m_socket->setPeerVerifyName(endpoint.host);
    if (endpoint.security == ImapEndpoint::Security::ImplicitTls)
        m_socket->connectToHostEncrypted(endpoint.host, endpoint.effectivePort());
    else
        m_socket->connectToHost(endpoint.host, endpoint.effectivePort());
    armTimer();
}

void ImapConnection::login(const ImapCredentials& credentials, Done done) {
    if (m_phase != Phase::Ready || m_authenticated || !m_socket->isEncrypted()) {
        post(std::move(done),
             ImapResult::failed(QStringLiteral("%1: cannot log in %2")
                                    .arg(m_endpoint.name(),
                                         m_authenticated ? QStringLiteral("twice")
                                                         : QStringLiteral("before TLS is up"))));
        return;
    }
    if (credentials.tokens && credentials.method != ImapCredentials::Method::Password) {
        loginWithToken(credentials, false, std::move(done));
        return;
    }
    authenticate(credentials, credentials.secret, std::move(done));
}

void ImapConnection::loginWithToken(const ImapCredentials& credentials, bool again, Done done) {
    // The connection is the context: deleted, it hears nothing more.
    credentials.tokens->accessToken(this, [this, credentials, again, done = std::move(done)](
                                              const QString& token, const QString& error) {
        if (m_phase != Phase::Ready) {
            done(ImapResult::failed(QStringLiteral("%1: not connected").arg(m_endpoint.name())));
            return;
        }
        if (token.isEmpty()) {
            // Nothing to log in with: the connection is of no more use.
            done(ImapResult::failed(error));
            fail(error);
            return;
        }
        authenticate(
            credentials, token, [this, credentials, token, again, done](const ImapResult& result) {
                // Revoked or expired early: one new token, one more try.
                if (!result.ok() && result.status != ImapResult::Status::Failed && !again) {
                    credentials.tokens->refused(token);
                    loginWithToken(credentials, true, done);
                    return;
                }
                done(result);
            });
    });
}

void ImapConnection::authenticate(const ImapCredentials& credentials, const QString& secret,
                                  Done done) {
    const auto authenticate = [this](QByteArrayView mechanism, const QByteArray& initial) {
        ImapCommand command(QByteArrayLiteral("AUTHENTICATE"));
        command.raw(mechanism);
        if (hasCapability("SASL-IR"))
            command.raw(initial).secret();
        else
            command.continuationReply(initial);
        return command;
    };
    std::optional<ImapCommand> command;
    QByteArray wanted;
    switch (credentials.method) {
    case ImapCredentials::Method::Password:
        if (hasCapability("AUTH=PLAIN")) {
            command = authenticate("PLAIN", sasl::plain(credentials.user, secret));
        } else if (!hasCapability("LOGINDISABLED")) {
            // The last resort; safe only because the connection is encrypted.
            command = ImapCommand(QByteArrayLiteral("LOGIN"));
            command->string(credentials.user.toUtf8()).string(secret.toUtf8()).secret();
        }
        wanted = "AUTHENTICATE PLAIN or LOGIN";
        break;
    case ImapCredentials::Method::XOAuth2:
        if (hasCapability("AUTH=XOAUTH2"))
            command = authenticate("XOAUTH2", sasl::xoauth2(credentials.user, secret));
        wanted = "AUTHENTICATE XOAUTH2";
        break;
    case ImapCredentials::Method::OAuthBearer:
        if (hasCapability("AUTH=OAUTHBEARER"))
            command = authenticate("OAUTHBEARER",
                                   sasl::oauthBearer(credentials.user, secret, m_endpoint.host,
                                                     m_endpoint.effectivePort()));
        wanted = "AUTHENTICATE OAUTHBEARER";
        break;
    }
    if (!command) {
        post(std::move(done),
             ImapResult::failed(QStringLiteral("%1: the server does not offer %2")
                                    .arg(m_endpoint.name(), QString::fromLatin1(wanted))));
        return;
    }
    run(*command, [this, done = std::move(done)](const ImapResult& result) {
        if (!result.ok()) {
            done(result);
            return;
        }
        m_authenticated = true;
        bool told = result.code.is("CAPABILITY");
        for (const ImapResponse& response : result.untagged)
            told = told || response.isData("CAPABILITY");
        if (told) {
            done(result);
            return;
        }
        // What a server offers changes once it knows who is logged in.
        queueInternal(ImapCommand(QByteArrayLiteral("CAPABILITY")), Kind::Internal,
                      [done, result](const ImapResult&) { done(result); });
    });
}

void ImapConnection::run(ImapCommand command, Done done) {
    if (m_phase == Phase::Failed || m_phase == Phase::Closed || m_phase == Phase::LoggingOut) {
        post(std::move(done),
             ImapResult::failed(QStringLiteral("%1: not connected").arg(m_endpoint.name())));
        return;
    }
    m_queue.append(Pending(std::move(command), std::move(done)));
    if (m_current && m_current->pending.kind == Kind::Idle)
        stopIdle();
    sendNext();
}

void ImapConnection::idle(Updates updates, std::function<void()> started, Done finished) {
    if (m_phase == Phase::Ready && !hasCapability("IDLE")) {
        post(std::move(finished),
             ImapResult::failed(
                 QStringLiteral("%1: the server does not offer IDLE").arg(m_endpoint.name())));
        return;
    }
    if (m_phase != Phase::Ready && m_phase != Phase::Opening && m_phase != Phase::Greeting &&
        m_phase != Phase::Connecting) {
        post(std::move(finished),
             ImapResult::failed(QStringLiteral("%1: not connected").arg(m_endpoint.name())));
        return;
    }
    m_queue.append(Pending(ImapCommand(QByteArrayLiteral("IDLE")), std::move(finished), Kind::Idle,
                           std::move(updates), std::move(started)));
    sendNext();
}

void ImapConnection::stopIdle() {
    if (!m_current || m_current->pending.kind != Kind::Idle) {
        // An IDLE still queued never starts.
        for (qsizetype i = 0; i < m_queue.size(); ++i)
            if (m_queue[i].kind == Kind::Idle) {
                ImapResult result;
                result.status = ImapResult::Status::Ok;
                result.text = QStringLiteral("IDLE stopped before it began");
                post(m_queue.takeAt(i).done, result);
                return;
            }
        return;
    }
    InFlight& idle = *m_current;
    idle.idleRenewing = false;
    if (idle.doneSent)
        return;
    idle.doneSent = true;
    // Before the server's `+`, DONE would be read as a command: it goes out
    // when the `+` comes (handleContinuation).
    if (idle.idleStarted) {
        m_idleRenewal->stop();
        write(QByteArrayLiteral("DONE\r\n"));
        armTimer();
    }
}

void ImapConnection::logout(Done done) {
    if (m_phase != Phase::Ready) {
        post(std::move(done),
             ImapResult::failed(QStringLiteral("%1: not connected").arg(m_endpoint.name())));
        return;
    }
    m_queue.append(
        Pending(ImapCommand(QByteArrayLiteral("LOGOUT")), std::move(done), Kind::Logout));
    if (m_current && m_current->pending.kind == Kind::Idle)
        stopIdle();
    sendNext();
}

bool ImapConnection::isIdling() const {
    return m_current && m_current->pending.kind == Kind::Idle && m_current->idleStarted &&
           !m_current->doneSent;
}

bool ImapConnection::hasCapability(QByteArrayView name) const {
    return m_capabilities.contains(QByteArray(name.data(), name.size()).toUpper());
}

void ImapConnection::onReadyRead() {
    const QByteArray bytes = m_socket->readAll();
    if (m_phase == Phase::Failed || m_phase == Phase::Closed)
        return;
    if (m_timer->isActive())
        m_timer->start();
    const QList<ImapResponse> responses = m_parser.feed(bytes);
    for (qsizetype i = 0; i < responses.size(); ++i) {
        const bool wasStartingTls = m_current && m_current->pending.kind == Kind::StartTls;
        handle(responses[i]);
        if (m_phase == Phase::Failed)
            return;
        if (wasStartingTls && !m_current && m_phase == Phase::Opening) {
            // Whatever came after the server's OK came in the clear and may
            // be an attacker's: it must not be read as part of the TLS session.
            if (i + 1 < responses.size() || m_parser.hasPendingBytes()) {
                fail(QStringLiteral("%1: the server sent more after agreeing to STARTTLS; "
                                    "not trusting the connection")
                         .arg(m_endpoint.name()));
                return;
            }
            m_parser.reset();
            m_capabilities.clear();
            m_socket->startClientEncryption();
            armTimer();
            return;
        }
    }
    if (m_parser.failed())
        fail(m_endpoint.name() + QStringLiteral(": ") + m_parser.error());
}

void ImapConnection::onEncrypted() {
    if (m_phase == Phase::Connecting) {
        m_phase = Phase::Greeting;
        armTimer();
        return;
    }
    if (m_phase == Phase::Opening) {
        // After STARTTLS: what was offered in the clear counts for nothing.
        queueInternal(ImapCommand(QByteArrayLiteral("CAPABILITY")), Kind::Internal,
                      [this](const ImapResult&) { finishOpening(); });
    }
}

void ImapConnection::onSocketError() {
    if (m_phase == Phase::Failed || m_phase == Phase::Closed)
        return;
    switch (m_socket->error()) {
    case QAbstractSocket::RemoteHostClosedError:
        onDisconnected();
        return;
    case QAbstractSocket::SslHandshakeFailedError:
        fail(certificateProblem());
        return;
    default:
        fail(m_endpoint.name() + QStringLiteral(": ") + m_socket->errorString() +
             describeWaiting());
    }
}

void ImapConnection::onDisconnected() {
    if (m_phase == Phase::Failed || m_phase == Phase::Closed)
        return;
    if (m_phase == Phase::LoggingOut && !m_current) {
        m_phase = Phase::Closed;
        return;
    }
    if (m_phase == Phase::Connecting && !m_sslErrors.isEmpty()) {
        fail(certificateProblem());
        return;
    }
    fail(QStringLiteral("%1: the server closed the connection%2%3")
             .arg(m_endpoint.name(),
                  m_bye.isEmpty() ? QString() : QStringLiteral(" (\"%1\")").arg(m_bye),
                  describeWaiting()));
}

void ImapConnection::handle(ImapResponse response) {
    if (auto capabilities = readCapabilities(response))
        m_capabilities = *capabilities;
    if (m_phase == Phase::Greeting || m_phase == Phase::Connecting) {
        handleGreeting(response);
        return;
    }
    switch (response.kind) {
    case ImapResponse::Kind::Continuation:
        handleContinuation(response);
        return;
    case ImapResponse::Kind::Tagged:
        handleTagged(response);
        return;
    case ImapResponse::Kind::Untagged:
        break;
    }
    if (response.status == "BYE")
        m_bye = response.text;
    if (isIdling() ||
        (m_current && m_current->pending.kind == Kind::Idle && m_current->idleStarted)) {
        // Updates keep coming after DONE until the tagged OK; they are still news.
        if (m_current->pending.idleUpdates)
            m_current->pending.idleUpdates(response);
    } else if (m_current) {
        m_current->untagged.append(std::move(response));
    } else if (m_onUnsolicited) {
        m_onUnsolicited(response);
    }
}

void ImapConnection::handleGreeting(const ImapResponse& response) {
    if (response.kind != ImapResponse::Kind::Untagged || !response.isStatus()) {
        fail(QStringLiteral("%1: not an IMAP greeting: %2")
                 .arg(m_endpoint.name(), response.describe()));
        return;
    }
    if (response.status == "BYE") {
        fail(QStringLiteral("%1: the server refused the connection: %2")
                 .arg(m_endpoint.name(), response.text));
        return;
    }
    if (response.status == "PREAUTH") {
        if (m_endpoint.security == ImapEndpoint::Security::StartTls) {
            // RFC 3501 6.2.1: STARTTLS is impossible after PREAUTH, and
            // going on in the clear is what this client never does.
            fail(
                QStringLiteral("%1: the server logged in before STARTTLS; not going on without TLS")
                    .arg(m_endpoint.name()));
            return;
        }
        m_authenticated = true;
    } else if (response.status != "OK") {
        fail(QStringLiteral("%1: not an IMAP greeting: %2")
                 .arg(m_endpoint.name(), response.describe()));
        return;
    }
    m_phase = Phase::Opening;
    m_timer->stop();
    afterGreeting();
}

void ImapConnection::afterGreeting() {
    const auto next = [this] {
        if (m_endpoint.security == ImapEndpoint::Security::StartTls && !m_socket->isEncrypted())
            startTls();
        else
            finishOpening();
    };
    if (!m_capabilities.isEmpty()) {
        next();
        return;
    }
    queueInternal(ImapCommand(QByteArrayLiteral("CAPABILITY")), Kind::Internal,
                  [next](const ImapResult&) { next(); });
}

void ImapConnection::startTls() {
    if (!hasCapability("STARTTLS")) {
        fail(QStringLiteral("%1: the server does not offer STARTTLS; nothing is sent in the clear")
                 .arg(m_endpoint.name()));
        return;
    }
    queueInternal(ImapCommand(QByteArrayLiteral("STARTTLS")), Kind::StartTls,
                  [this](const ImapResult& result) {
                      if (!result.ok())
                          fail(QStringLiteral("%1: STARTTLS refused: %2")
                                   .arg(m_endpoint.name(), result.describe()));
                  });
}

void ImapConnection::finishOpening() {
    if (m_phase != Phase::Opening)
        return;
    m_phase = Phase::Ready;
    ImapResult result;
    result.status = ImapResult::Status::Ok;
    result.text = QStringLiteral("connected to %1").arg(m_endpoint.name());
    if (Done done = std::exchange(m_openDone, {}))
        done(result);
    sendNext();
}

void ImapConnection::handleContinuation(const ImapResponse& response) {
    if (!m_current) {
        fail(QStringLiteral("%1: a continuation request while no command waits: %2")
                 .arg(m_endpoint.name(), response.describe()));
        return;
    }
    InFlight& current = *m_current;
    if (!current.pieces.isEmpty()) {
        write(current.pieces.takeFirst());
        return;
    }
    if (current.pending.kind == Kind::Idle) {
        if (current.idleStarted)
            return;
        current.idleStarted = true;
        if (current.doneSent) {
            write(QByteArrayLiteral("DONE\r\n"));
            return;
        }
        m_timer->stop(); // a quiet folder is no fault while idling
        m_idleRenewal->start(m_endpoint.idleRestartMs);
        if (const auto started = std::exchange(current.pending.idleStarted, {}))
            started();
        return;
    }
    const QByteArrayList& replies = current.pending.command.continuationReplies();
    if (current.repliesUsed < replies.size())
        write(replies[current.repliesUsed++] + "\r\n");
    else
        write(QByteArrayLiteral("\r\n"));
}

void ImapConnection::handleTagged(const ImapResponse& response) {
    if (!m_current || response.tag != m_current->tag) {
        fail(QStringLiteral("%1: an answer to a command never sent: %2")
                 .arg(m_endpoint.name(), response.describe()));
        return;
    }
    InFlight finished = std::move(*m_current);
    m_current.reset();
    m_timer->stop();
    m_idleRenewal->stop();
    ImapResult result;
    result.status = statusOf(response.status);
    result.code = response.code;
    result.text = response.text;
    result.untagged = std::move(finished.untagged);
    if (finished.pending.kind == Kind::Idle && finished.idleRenewing && result.ok()) {
        Pending again = std::move(finished.pending);
        m_queue.prepend(std::move(again));
        sendNext();
        return;
    }
    if (finished.pending.kind == Kind::Logout)
        m_socket->disconnectFromHost();
    if (finished.pending.done)
        finished.pending.done(result);
    // After STARTTLS nothing is sent until TLS is up (onReadyRead).
    if (finished.pending.kind != Kind::StartTls || !result.ok())
        sendNext();
}

void ImapConnection::queueInternal(ImapCommand command, Kind kind, Done done) {
    m_queue.prepend(Pending(std::move(command), std::move(done), kind));
    sendNext();
}

void ImapConnection::sendNext() {
    if (m_current || m_queue.isEmpty())
        return;
    const Kind next = m_queue.first().kind;
    const bool opening = next == Kind::Internal || next == Kind::StartTls;
    if (m_phase != Phase::Ready && !(m_phase == Phase::Opening && opening))
        return;
    InFlight current(m_queue.takeFirst());
    current.tag = 'V' + QByteArray::number(m_nextTag++);
    const ImapCommand::Literals literals = hasCapability("LITERAL+") ? ImapCommand::Literals::Plus
                                           : hasCapability("LITERAL-")
                                               ? ImapCommand::Literals::Minus
                                               : ImapCommand::Literals::Synchronising;
    current.pieces = current.pending.command.encode(current.tag, literals);
    const QByteArray first = current.pieces.takeFirst();
    if (current.pending.kind == Kind::Logout)
        m_phase = Phase::LoggingOut;
    m_current = std::move(current);
    write(first);
    armTimer();
}

void ImapConnection::write(const QByteArray& bytes) {
    m_socket->write(bytes);
}

void ImapConnection::armTimer() {
    if (m_endpoint.timeoutMs > 0)
        m_timer->start(m_endpoint.timeoutMs);
}

void ImapConnection::fail(const QString& reason) {
    if (m_phase == Phase::Failed)
        return;
    m_phase = Phase::Failed;
    m_timer->stop();
    m_idleRenewal->stop();
    // Aborting from inside the socket's own signal is put off to the loop.
    QTimer::singleShot(0, m_socket, [socket = m_socket] { socket->abort(); });
    QList<Done> waiting;
    if (m_openDone)
        waiting.append(std::exchange(m_openDone, {}));
    if (m_current)
        waiting.append(std::move(m_current->pending.done));
    m_current.reset();
    for (Pending& pending : m_queue)
        waiting.append(std::move(pending.done));
    m_queue.clear();
    const ImapResult result = ImapResult::failed(reason);
    for (const Done& done : waiting)
        if (done)
            done(result);
    if (m_onFailure)
        m_onFailure(reason);
}

void ImapConnection::post(Done done, const ImapResult& result) {
    if (done)
        QTimer::singleShot(0, this, [done = std::move(done), result] { done(result); });
}

QString ImapConnection::certificateProblem() const {
    QStringList reasons;
    for (const QSslError& error : m_sslErrors) {
        const QSslCertificate certificate = error.certificate();
        switch (error.error()) {
        case QSslError::HostNameMismatch: {
            QStringList names = certificate.subjectAlternativeNames().values(QSsl::DnsEntry);
            if (names.isEmpty())
                names = certificate.subjectInfo(QSslCertificate::CommonName);
            reasons.append(QStringLiteral("the certificate is for %1, not %2")
                               .arg(names.join(QStringLiteral(", ")), m_endpoint.host));
            break;
        }
        case QSslError::UnableToGetLocalIssuerCertificate:
        case QSslError::UnableToGetIssuerCertificate:
        case QSslError::UnableToVerifyFirstCertificate:
        case QSslError::SelfSignedCertificateInChain:
        case QSslError::CertificateUntrusted:
            reasons.append(QStringLiteral("it was issued by \"%1\", a certificate authority not "
                                          "trusted here (name its certificate as the CA file to "
                                          "trust it)")
                               .arg(certificate.issuerInfo(QSslCertificate::CommonName)
                                        .join(QStringLiteral(", "))));
            break;
        case QSslError::SelfSignedCertificate:
            reasons.append(QStringLiteral("it is self-signed and not trusted here (name it as the "
                                          "CA file to trust it)"));
            break;
        case QSslError::CertificateExpired:
            reasons.append(QStringLiteral("it expired on %1")
                               .arg(certificate.expiryDate().toString(Qt::ISODate)));
            break;
        case QSslError::CertificateNotYetValid:
            reasons.append(QStringLiteral("it is valid only from %1")
                               .arg(certificate.effectiveDate().toString(Qt::ISODate)));
            break;
        default:
            reasons.append(error.errorString());
        }
    }
    reasons.removeDuplicates();
    if (reasons.isEmpty())
        return QStringLiteral("%1: the TLS handshake failed: %2")
            .arg(m_endpoint.name(), m_socket->errorString());
    return QStringLiteral("refused the TLS certificate of %1: %2")
        .arg(m_endpoint.name(), reasons.join(QStringLiteral("; ")));
}

QString ImapConnection::describeWaiting() const {
    if (m_current)
        return QStringLiteral(" (while waiting for the answer to %1)")
            .arg(QString::fromUtf8(m_current->pending.command.describe(m_current->tag)));
    switch (m_phase) {
    case Phase::Connecting:
        return QStringLiteral(" (while connecting)");
    case Phase::Greeting:
        return QStringLiteral(" (while waiting for the greeting)");
    case Phase::Opening:
        return QStringLiteral(" (while setting up TLS)");
    default:
        return {};
    }
}

} // namespace velmora::imap
