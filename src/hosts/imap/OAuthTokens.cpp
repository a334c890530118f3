#include "hosts/imap/OAuthTokens.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QSslCertificate>
#include <QSslConfiguration>

namespace velmora::imap {

namespace {

// A token is replaced this long before it expires, or after three quarters
// of its life when that is shorter.
constexpr qint64 kRenewBeforeMs = 60'000;

QByteArray formField(const char* name, const QString& value) {
    return QByteArray(name) + '=' + QUrl::toPercentEncoding(value);
}

} // namespace

OAuthTokens::OAuthTokens(Client client, QString refreshToken, QObject* parent)
    : QObject(parent), m_client(std::move(client)), m_refreshToken(std::move(refreshToken)),
      m_network(new QNetworkAccessManager(this)) {
    m_renewal.setSingleShot(true);
    connect(&m_renewal, &QTimer::timeout, this, [this] { refresh(); });
}

OAuthTokens::~OAuthTokens() {
    if (m_reply) {
        disconnect(m_reply, nullptr, this, nullptr);
        m_reply->abort();
    }
}

bool OAuthTokens::usable() const {
    return !m_accessToken.isEmpty() &&
           (!m_renewAt.isValid() || QDateTime::currentDateTimeUtc() < m_renewAt);
}

void OAuthTokens::accessToken(QObject* context, Ready ready) {
    m_waiting.append({context, context != nullptr, std::move(ready)});
    // Answered from the loop in either case, never from inside this call.
    QTimer::singleShot(0, this, [this] {
        if (usable())
            answer(m_accessToken, {});
        else
            refresh();
    });
}

void OAuthTokens::refused(const QString& accessToken) {
    if (accessToken == m_accessToken)
        m_accessToken.clear();
}

void OAuthTokens::refresh() {
    if (m_reply)
        return; // its answer serves everyone waiting
    const QString endpoint = m_client.tokenUrl.toDisplayString(QUrl::RemoveUserInfo);
    if (m_client.tokenUrl.scheme() != QStringLiteral("https")) {
        answer({}, QStringLiteral("%1: the token endpoint must be an https:// address; the "
                                  "refresh token is not sent in the clear")
                       .arg(endpoint));
        return;
    }
    QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
    tls.setPeerVerifyMode(QSslSocket::VerifyPeer);
    if (!m_client.caFile.isEmpty()) {
        const QList<QSslCertificate> extra = QSslCertificate::fromPath(m_client.caFile);
        if (extra.isEmpty()) {
            answer({}, QStringLiteral("%1: no CA certificate could be read from %2")
                           .arg(endpoint, m_client.caFile));
            return;
        }
        // As for the IMAP connection: the system's roots stay beside the CA.
        tls.setCaCertificates(QSslConfiguration::systemCaCertificates() + extra);
    }
    QNetworkRequest request(m_client.tokenUrl);
    request.setSslConfiguration(tls);
    request.setHeader(QNetworkRequest::ContentTypeHeader,
                      QByteArrayLiteral("application/x-www-form-urlencoded"));
    request.setRawHeader("Accept", "application/json");
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::ManualRedirectPolicy);
    request.setTransferTimeout(m_client.timeoutMs);
    QByteArrayList form{formField("grant_type", QStringLiteral("refresh_token")),
                        formField("refresh_token", m_refreshToken),
                        formField("client_id", m_client.clientId)};
    if (!m_client.clientSecret.isEmpty())
        form.append(formField("client_secret", m_client.clientSecret));
    m_reply = m_network->post(request, form.join('&'));
    connect(m_reply, &QNetworkReply::finished, this,
            [this, reply = m_reply.data()] { finished(reply); });
}

void OAuthTokens::finished(QNetworkReply* reply) {
    reply->deleteLater();
    m_reply.clear();
    const QByteArray body = reply->readAll();
    const QJsonObject json = QJsonDocument::fromJson(body).object();
    const QString token = json.value(QStringLiteral("access_token")).toString();
    if (reply->error() != QNetworkReply::NoError || token.isEmpty()) {
        const QString error = describeFailure(reply, body);
        // A renewal ahead of time that failed leaves the token held usable
        // until it expires; the next connection asks again.
        answer(usable() ? m_accessToken : QString(), usable() ? QString() : error);
        return;
    }
    ++m_refreshes;
    m_accessToken = token;
    // Some providers send the refresh token anew (and retire the old one).
    if (const QString next = json.value(QStringLiteral("refresh_token")).toString();
        !next.isEmpty())
        m_refreshToken = next;
    const QJsonValue expires = json.value(QStringLiteral("expires_in"));
    const qint64 lifeMs =
        qint64(expires.isString() ? expires.toString().toDouble() : expires.toDouble()) * 1000;
    m_renewal.stop();
    if (lifeMs > 0) {
        const qint64 renewInMs = lifeMs - qMin(kRenewBeforeMs, lifeMs / 4);
        m_renewAt = QDateTime::currentDateTimeUtc().addMSecs(renewInMs);
        m_renewal.start(int(qMin<qint64>(renewInMs, std::numeric_limits<int>::max())));
    } else {
        m_renewAt = QDateTime(); // good until a server refuses it
    }
    answer(m_accessToken, {});
}

QString OAuthTokens::describeFailure(QNetworkReply* reply, const QByteArray& body) const {
    const QString endpoint = m_client.tokenUrl.toDisplayString(QUrl::RemoveUserInfo);
    const QJsonObject json = QJsonDocument::fromJson(body).object();
    const QString error = json.value(QStringLiteral("error")).toString();
    if (!error.isEmpty()) {
        const QString description = json.value(QStringLiteral("error_description")).toString();
        return QStringLiteral("the token endpoint %1 refused the refresh token: %2%3")
            .arg(endpoint, error,
                 description.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(description));
    }
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (status != 0 && status != 200)
        return QStringLiteral("the token endpoint %1 answered HTTP %2 %3")
            .arg(endpoint)
            .arg(status)
            .arg(reply->attribute(QNetworkRequest::HttpReasonPhraseAttribute).toString());
    if (reply->error() != QNetworkReply::NoError)
        return QStringLiteral("the token endpoint %1 could not be reached: %2")
            .arg(endpoint, reply->errorString());
    return QStringLiteral("the token endpoint %1 sent no access token").arg(endpoint);
}

void OAuthTokens::answer(const QString& token, const QString& error) {
    const QList<Waiting> waiting = std::exchange(m_waiting, {});
    for (const Waiting& w : waiting)
        if (!w.hasContext || w.context)
            w.ready(token, error);
}

} // namespace velmora::imap
