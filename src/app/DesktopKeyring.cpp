#include "app/DesktopKeyring.h"

#include <QByteArray>

#include <libsecret/secret.h>

namespace velmora {

namespace {

const SecretSchema* imapSchema() {
    static const SecretSchema schema = [] {
        SecretSchema s{};
        s.name = "org.velmora.ImapAccount";
        s.flags = SECRET_SCHEMA_NONE;
        s.attributes[0] = {"user", SECRET_SCHEMA_ATTRIBUTE_STRING};
        s.attributes[1] = {"server", SECRET_SCHEMA_ATTRIBUTE_STRING};
        return s;
    }();
    return &schema;
}

// What was tried and why it failed, and the way round it. Only app/ reads
// the environment, hence the bus address is looked up here.
QString unreachable(const QString& doing, GError* failure) {
    const QByteArray bus = qgetenv("DBUS_SESSION_BUS_ADDRESS");
    const QString where =
        bus.isEmpty()
            ? QStringLiteral("the D-Bus session bus (none named: "
                             "DBUS_SESSION_BUS_ADDRESS is not set)")
            : QStringLiteral("the D-Bus session bus at %1").arg(QString::fromLocal8Bit(bus));
    const QString cause = QString::fromUtf8(failure->message);
    g_error_free(failure);
    return QStringLiteral("the desktop keyring could not %1: tried the Secret Service "
                          "(org.freedesktop.secrets) on %2: %3; keep the password in "
                          "a file readable by you alone and name it with --password-file")
        .arg(doing, where, cause);
}

QString accountName(const DesktopKeyring::Entry& entry) {
    return entry.user + u'@' + entry.server;
}

} // namespace

bool DesktopKeyring::reachable(QString* error) {
    GError* failure = nullptr;
    SecretService* service = secret_service_get_sync(SECRET_SERVICE_NONE, nullptr, &failure);
    if (failure) {
        *error = unreachable(QStringLiteral("be reached"), failure);
        return false;
    }
    g_object_unref(service);
    return true;
}

std::optional<QString> DesktopKeyring::lookup(const Entry& entry, QString* error) {
    GError* failure = nullptr;
    gchar* found = secret_password_lookup_sync(imapSchema(), nullptr, &failure, "user",
                                               entry.user.toUtf8().constData(), "server",
                                               entry.server.toUtf8().constData(), nullptr);
    if (failure) {
        *error = unreachable(QStringLiteral("be read"), failure);
        return std::nullopt;
    }
    if (!found) {
        *error = QStringLiteral("the desktop keyring holds no password for %1; keep it there "
                                "with velmora account add --imap URL --password-keyring")
                     .arg(accountName(entry));
        return std::nullopt;
    }
    QString secret = QString::fromUtf8(found);
    // Wipes the copy libsecret made before freeing it.
    secret_password_free(found);
    return secret;
}

bool DesktopKeyring::store(const Entry& entry, const QString& secret, QString* error) {
    GError* failure = nullptr;
    const QString label = QStringLiteral("Velmora: IMAP account %1").arg(accountName(entry));
    QByteArray bytes = secret.toUtf8();
    const gboolean stored = secret_password_store_sync(
        imapSchema(), SECRET_COLLECTION_DEFAULT, label.toUtf8().constData(), bytes.constData(),
        nullptr, &failure, "user", entry.user.toUtf8().constData(), "server",
        entry.server.toUtf8().constData(), nullptr);
    bytes.fill('\0');
    if (failure) {
        *error = unreachable(QStringLiteral("keep the password"), failure);
        return false;
    }
    if (!stored) {
        *error = QStringLiteral("the desktop keyring did not keep the password for %1")
                     .arg(accountName(entry));
        return false;
    }
    return true;
}

bool DesktopKeyring::remove(const Entry& entry, QString* error) {
    GError* failure = nullptr;
    secret_password_clear_sync(imapSchema(), nullptr, &failure, "user",
                               entry.user.toUtf8().constData(), "server",
                               entry.server.toUtf8().constData(), nullptr);
    if (failure) {
        *error = unreachable(QStringLiteral("delete the password"), failure);
        return false;
    }
    return true;
}

} // namespace velmora
