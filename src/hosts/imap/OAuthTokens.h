#pragma once

#include <QDateTime>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QTimer>
#include <QUrl>

#include <functional>

class QNetworkAccessManager;
class QNetworkReply;

namespace velmora::imap {

// The OAuth access tokens of one account, got from the provider's token
// endpoint with the user's refresh token (an HTTPS POST of
// grant_type=refresh_token), on the event loop. Every connection of the
// account shares one of these, so one refresh serves them all.
//
// Access tokens live in memory only. A token is refreshed a little before it
// expires (a minute, or a quarter of its life when that is shorter), and at
// once when a server refuses it. Neither token ever appears in a message.
//
// TLS is verified as the IMAP connection verifies it: the system's CAs plus
// the CA file given, the host name against the certificate, no way to turn
// either off. The endpoint must be https://; a redirect is an error, so the
// refresh token goes to no other place.
class OAuthTokens final : public QObject {
public:
    struct Client {
        QUrl tokenUrl;        // the provider's token endpoint
        QString clientId;     // the user's OAuth client
        QString clientSecret; // may be empty (a public client)
        QString caFile;       // PEM certificates trusted beside the system's; may be empty
        int timeoutMs = 60'000;
    };
    // The token, or an empty token and the reason: the endpoint named, and
    // the error the provider gave.
    using Ready = std::function<void(const QString& accessToken, const QString& error)>;

    OAuthTokens(Client client, QString refreshToken, QObject* parent = nullptr);
    ~OAuthTokens() override;

    // Hands a usable access token to `ready`: the one held when it does not
    // expire soon, else a new one. Called exactly once, on the event loop,
    // never before this returns, and not at all once `context` is gone.
    void accessToken(QObject* context, Ready ready);
    // The server refused `accessToken`: the next accessToken() asks the
    // endpoint for a new one, unless another connection already has.
    void refused(const QString& accessToken);

    const Client& client() const { return m_client; }
    // How many refreshes the endpoint answered with a token (for tests).
    int refreshes() const { return m_refreshes; }

private:
    struct Waiting {
        QPointer<QObject> context;
        bool hasContext = false;
        Ready ready;
    };

    bool usable() const;
    void refresh();
    void finished(QNetworkReply* reply);
    void answer(const QString& token, const QString& error);
    QString describeFailure(QNetworkReply* reply, const QByteArray& body) const;

    Client m_client;
    QString m_refreshToken;
    QString m_accessToken;
    QDateTime m_renewAt; // when the token held should be replaced
    QNetworkAccessManager* m_network;
    QPointer<QNetworkReply> m_reply;
    QList<Waiting> m_waiting;
    QTimer m_renewal;
    int m_refreshes = 0;
};

} // namespace velmora::imap
