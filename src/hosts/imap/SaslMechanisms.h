#pragma once

#include <QByteArray>
#include <QString>

// The first client responses of the SASL mechanisms the connection uses, in
// base64 as AUTHENTICATE sends them (an empty response is `=`).
namespace velmora::imap::sasl {

// PLAIN (RFC 4616): no authorisation identity, then the user and password.
QByteArray plain(const QString& user, const QString& password);
// XOAUTH2, the bearer-token mechanism of the large providers.
QByteArray xoauth2(const QString& user, const QString& accessToken);
// OAUTHBEARER (RFC 7628), naming the host and port the token is meant for.
QByteArray oauthBearer(const QString& user, const QString& accessToken, const QString& host,
                       quint16 port);

} // namespace velmora::imap::sasl
