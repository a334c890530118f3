#pragma once

#include "hosts/imap/ImapCommand.h"
#include "hosts/imap/ImapEndpoint.h"
#include "hosts/imap/ImapParser.h"
#include "hosts/imap/ImapResult.h"

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QSet>
#include <QSslError>
#include <QString>

#include <functional>
#include <optional>

class QSslSocket;
class QTimer;

namespace velmora::imap {

// One connection to an IMAP server over TLS, driven by the Qt event loop: no
// call blocks and no thread is started. Commands are queued and sent one at
// a time; each ends in its callback with the tagged answer and the untagged
// responses that arrived while it ran.
//
// Contract for every callback taken here: it is called exactly once, on the
// event loop, never before the method that took it has returned; it may
// queue more commands. The connection must not be deleted from inside one of
// its callbacks (use deleteLater()).
//
// Security: implicit TLS or STARTTLS only; the certificate chain is verified
// against the system's CAs plus the endpoint's CA file, and the host name
// against the certificate, with no way to turn either off. Passwords go only
// over TLS.
class ImapConnection final : public QObject {
public:
    using Done = std::function<void(const ImapResult&)>;
    using Updates = std::function<void(const ImapResponse&)>;

    explicit ImapConnection(QObject* parent = nullptr);
    ~ImapConnection() override; // drops the connection; calls no callback

    // Connects, sets up TLS (after STARTTLS when asked), reads the greeting
    // and the capabilities. `done` gets Ok when commands can be sent.
    void open(const ImapEndpoint& endpoint, Done done);
    // Logs in with the best mechanism both sides have (see ImapCredentials)
    // and reads the capabilities again, as they change after login. With
    // OAuth tokens to refresh, the access token is asked for first, and a
    // token the server refuses is replaced once and tried again; when no
    // token can be had, the connection fails with the reason.
    void login(const ImapCredentials& credentials, Done done);
    // Queues a command. While IDLE runs, IDLE is ended first.
    void run(ImapCommand command, Done done);
    // Starts IDLE on the selected folder: `updates` gets each untagged
    // response while idling (EXISTS, EXPUNGE, VANISHED, FETCH), `started`
    // (may be empty) once the server has confirmed, and `finished` once IDLE
    // has ended, through stopIdle(), another command, or a failure. IDLE is
    // renewed by itself before servers time it out, without calling
    // `finished`.
    void idle(Updates updates, std::function<void()> started, Done finished);
    // Ends IDLE (sends DONE); nothing happens when not idling.
    void stopIdle();
    // Sends LOGOUT and closes; the failure handler is not called for the
    // close that follows.
    void logout(Done done);

    bool isReady() const { return m_phase == Phase::Ready; }
    bool isIdling() const;
    bool hasCapability(QByteArrayView name) const; // without case
    const QSet<QByteArray>& capabilities() const { return m_capabilities; }
    const ImapEndpoint& endpoint() const { return m_endpoint; }

    // Called once when the connection is lost for good (dropped, timed out,
    // unreadable answer, refused certificate), after the callbacks of every
    // command still waiting have had their Failed result. The text names the
    // server and the cause.
    void setFailureHandler(std::function<void(const QString&)> handler) {
        m_onFailure = std::move(handler);
    }
    // Untagged responses that arrive while no command runs and no IDLE is on.
    void setUnsolicitedHandler(Updates handler) { m_onUnsolicited = std::move(handler); }

private:
    enum class Phase { Closed, Connecting, Greeting, Opening, Ready, LoggingOut, Failed };
    enum class Kind { Plain, Internal, StartTls, Idle, Logout };

    struct Pending {
        Pending(ImapCommand command_, Done done_, Kind kind_ = Kind::Plain,
                Updates idleUpdates_ = {}, std::function<void()> idleStarted_ = {})
            : command(std::move(command_)), done(std::move(done_)), kind(kind_),
              idleUpdates(std::move(idleUpdates_)), idleStarted(std::move(idleStarted_)) {}
        ImapCommand command;
        Done done;
        Kind kind = Kind::Plain;
        Updates idleUpdates;
        std::function<void()> idleStarted;
    };
    struct InFlight {
        explicit InFlight(Pending pending_) : pending(std::move(pending_)) {}
        Pending pending;
        QByteArray tag;
        QList<QByteArray> pieces; // still to send, each after a `+`
        qsizetype repliesUsed = 0;
        QList<ImapResponse> untagged;
        bool idleStarted = false;
        bool doneSent = false; // DONE written for IDLE
        bool idleRenewing = false;
    };

    void onReadyRead();
    void onEncrypted();
    void onSocketError();
    void onDisconnected();
    void handle(ImapResponse response);
    void handleGreeting(const ImapResponse& response);
    void handleContinuation(const ImapResponse& response);
    void handleTagged(const ImapResponse& response);
    void afterGreeting();
    void loginWithToken(const ImapCredentials& credentials, bool again, Done done);
    void authenticate(const ImapCredentials& credentials, const QString& secret, Done done);
    void startTls();
    void finishOpening();
    void queueInternal(ImapCommand command, Kind kind, Done done);
    void sendNext();
    void write(const QByteArray& bytes);
    void armTimer();
    void fail(const QString& reason);
    void post(Done done, const ImapResult& result);
    QString certificateProblem() const;
    QString describeWaiting() const;

    QSslSocket* m_socket;
    QTimer* m_timer;
    QTimer* m_idleRenewal;
    ImapEndpoint m_endpoint;
    ImapParser m_parser;
    Phase m_phase = Phase::Closed;
    Done m_openDone;
    bool m_greeted = false;
    bool m_authenticated = false;
    QSet<QByteArray> m_capabilities;
    QList<Pending> m_queue;
    std::optional<InFlight> m_current;
    quint32 m_nextTag = 1;
    QList<QSslError> m_sslErrors;
    QString m_bye; // the text of a `* BYE`, the best reason for a close
    std::function<void(const QString&)> m_onFailure;
    Updates m_onUnsolicited;
};

} // namespace velmora::imap
