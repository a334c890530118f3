#pragma once

#include <QString>
#include <QtGlobal>

#include <memory>

namespace velmora::imap {

class OAuthTokens;

// Where and how to reach a server. There is deliberately no way to send
// anything in the clear or to accept a certificate that does not verify: a
// server with a private CA is trusted by naming that CA's certificate.
struct ImapEndpoint {
    enum class Security {
        ImplicitTls, // TLS from the first byte, port 993
        StartTls,    // plain on port 143 until STARTTLS; refused if not offered
    };

    QString host;
    quint16 port = 0; // 0: the default for the security chosen
    Security security = Security::ImplicitTls;
    QString caFile;                // PEM certificates trusted beside the system's; may be empty
    int timeoutMs = 60'000;        // silence allowed while an answer is awaited
    int idleRestartMs = 1'500'000; // IDLE is renewed before servers drop it at 30 min

    quint16 effectivePort() const {
        return port != 0 ? port : security == Security::ImplicitTls ? 993 : 143;
    }
    // `host:port`, the way errors name the server.
    QString name() const { return host + u':' + QString::number(effectivePort()); }
};

// Who logs in, and with what.
struct ImapCredentials {
    enum class Method {
        Password,    // AUTHENTICATE PLAIN, else LOGIN (both only ever over TLS)
        XOAuth2,     // an OAuth access token, the large providers' mechanism
        OAuthBearer, // an OAuth access token, the standard mechanism
    };

    Method method = Method::Password;
    QString user;
    QString secret; // the password or the access token
    // With an OAuth method: where access tokens come from when the user
    // holds a refresh token (`secret` is then unused). Shared by every
    // connection of the account.
    std::shared_ptr<OAuthTokens> tokens;
};

} // namespace velmora::imap
