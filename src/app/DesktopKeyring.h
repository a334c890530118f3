#pragma once

#include <QString>

#include <optional>

namespace velmora {

// The desktop keyring (the Secret Service on the D-Bus session bus, as
// GNOME Keyring and KWallet offer it), through libsecret's synchronous calls.
// This is the one place that includes libsecret: its GLib headers stay out
// of the Qt code.
//
// An IMAP account's secret is kept under the schema "org.velmora.ImapAccount"
// with the attributes "user" and "server" (host:port). Each call blocks until
// the service answers; none calls back. The secret never appears in an error.
class DesktopKeyring final {
public:
    struct Entry {
        QString user;
        QString server; // host:port
    };

    // Whether the keyring's service answers; when not, the reason in `error`.
    static bool reachable(QString* error);
    // The secret kept for `entry`; nothing, with the reason in `error`, when
    // the keyring holds none or cannot be reached.
    static std::optional<QString> lookup(const Entry& entry, QString* error);
    // Keeps `secret` for `entry` in the default collection, replacing the
    // one kept before.
    static bool store(const Entry& entry, const QString& secret, QString* error);
    // Deletes what is kept for `entry`; true also when nothing was.
    static bool remove(const Entry& entry, QString* error);
};

} // namespace velmora
