#include "hosts/imap/SaslMechanisms.h"

namespace velmora::imap::sasl {

namespace {
QByteArray base64(const QByteArray& bytes) {
    return bytes.isEmpty() ? QByteArrayLiteral("=") : bytes.toBase64();
}
} // namespace

QByteArray plain(const QString& user, const QString& password) {
    return base64('\0' + user.toUtf8() + '\0' + password.toUtf8());
}

QByteArray xoauth2(const QString& user, const QString& accessToken) {
    return base64("user=" + user.toUtf8() + "\x01" + "auth=Bearer " + accessToken.toUtf8() +
                  "\x01\x01");
}

QByteArray oauthBearer(const QString& user, const QString& accessToken, const QString& host,
                       quint16 port) {
    // gs2 header: no channel binding, the user as authzid with , and = escaped.
    QByteArray authzid = user.toUtf8();
    authzid.replace("=", "=3D").replace(",", "=2C");
    return base64("n,a=" + authzid + ",\x01" + "host=" + host.toUtf8() + "\x01" +
                  "port=" + QByteArray::number(port) + "\x01" + "auth=Bearer " +
                  accessToken.toUtf8() + "\x01\x01");
}

} // namespace velmora::imap::sasl
