#pragma once

#include "app/DesktopKeyring.h"
#include "hosts/imap/ImapAccount.h"
#include "settings/SettingsStore.h"

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QString>

#include <functional>
#include <optional>

namespace velmora {

// An IMAP account as the user names it: on the command line
// (--imap imaps://user@host[:port], --password-file or --password-keyring,
// --ca-file, --auth, --oauth-token-url, --oauth-client-id,
// --oauth-client-secret) or in the settings file's section "Imap" (Url,
// PasswordFile, PasswordKeyring, CaFile, Auth, OAuthTokenUrl, OAuthClientId,
// OAuthClientSecret, Junk, Sent, Trash), where `velmora account add` puts it.
// The password or token itself never appears in either: it is read from a
// file only its owner can read, or from the desktop keyring.
struct ImapAccountChoice {
    QString url;          // imaps://user@host[:port] (TLS) or imap://… (STARTTLS)
    QString passwordFile; // holds the password, an app password, an access or refresh token
    bool passwordInKeyring = false; // that secret is in the desktop keyring instead
    QString caFile;                 // a CA trusted beside the system's; may be empty
    QString auth;                   // "password" (default), "xoauth2" or "oauthbearer"
    QString junk, sent, trash;
    // With a token endpoint the password file holds an OAuth refresh token,
    // exchanged there for access tokens. A client secret of an installed
    // application is no secret (providers say so), hence kept in the settings.
    QString oauthTokenUrl;
    QString oauthClientId;
    QString oauthClientSecret;

    bool isSet() const { return !url.isEmpty(); }
};

// The options every command that reaches an account takes.
struct ImapOptions {
    QCommandLineOption imap{QStringLiteral("imap"),
                            QStringLiteral("The IMAP account: imaps://user@host[:port] (TLS, port "
                                           "993) or imap://user@host[:port] (STARTTLS, port 143)."),
                            QStringLiteral("url")};
    QCommandLineOption passwordFile{
        QStringLiteral("password-file"),
        QStringLiteral("A file readable by you alone that holds the password (or app password, "
                       "or OAuth access token)."),
        QStringLiteral("file")};
    QCommandLineOption passwordKeyring{
        QStringLiteral("password-keyring"),
        QStringLiteral("The password (or token) is kept in the desktop keyring (the Secret "
                       "Service): account add reads it from the terminal, or from standard "
                       "input, and keeps it there; account remove deletes it.")};
    QCommandLineOption caFile{
        QStringLiteral("ca-file"),
        QStringLiteral("A certificate authority (PEM) trusted beside the system's, for a server "
                       "with a private CA."),
        QStringLiteral("file")};
    QCommandLineOption auth{QStringLiteral("auth"),
                            QStringLiteral("How to log in: password (default), xoauth2 or "
                                           "oauthbearer (the file then holds an access token, or "
                                           "a refresh token with --oauth-token-url)."),
                            QStringLiteral("method")};
    QCommandLineOption oauthTokenUrl{
        QStringLiteral("oauth-token-url"),
        QStringLiteral("The provider's OAuth token endpoint (https://...): the password file "
                       "then holds a refresh token, exchanged there for access tokens."),
        QStringLiteral("url")};
    QCommandLineOption oauthClientId{
        QStringLiteral("oauth-client-id"),
        QStringLiteral("The OAuth client the refresh token was issued to."), QStringLiteral("id")};
    QCommandLineOption oauthClientSecret{
        QStringLiteral("oauth-client-secret"),
        QStringLiteral("That client's secret, where the provider wants one (an installed "
                       "application's, which is not confidential)."),
        QStringLiteral("secret")};

    void addTo(QCommandLineParser& parser) const {
        parser.addOptions({imap, passwordFile, passwordKeyring, caFile, auth, oauthTokenUrl,
                           oauthClientId, oauthClientSecret});
    }
    // What the command line says, the rest from `saved`.
    ImapAccountChoice chosen(const QCommandLineParser& parser,
                             const ImapAccountChoice& saved) const;
};

ImapAccountChoice savedImapAccount(const SettingsStore& settings);
void saveImapAccount(SettingsStore& settings, const ImapAccountChoice& choice);
void removeImapAccount(SettingsStore& settings);

// Where the secret comes from when it is given rather than looked up: called
// once the rest of the account has been found sound, it returns the secret
// or nothing with the reason in its argument.
using SecretSource = std::function<std::optional<QString>(QString* error)>;

// The account to connect to, or nothing with the reason in `error`: a URL
// that is not imap:// or imaps://, no user, neither or both of a password
// file and the keyring, a password file that is missing, empty, or readable
// by others, no password in the keyring or no keyring, a token endpoint
// without an OAuth method or client, or not https://. With `given`, the
// secret is taken from it instead (`account add --password-keyring`, before
// the secret is kept).
std::optional<imap::ImapAccount> imapAccountFrom(const ImapAccountChoice& choice, QString* error,
                                                 const SecretSource& given = {});

// Where the desktop keyring keeps the secret of the account at `url`, or
// nothing with the reason in `error`.
std::optional<DesktopKeyring::Entry> keyringEntryFor(const QString& url, QString* error);

// The secret in `path`, its trailing line break dropped. Refuses a file that
// its group or others may read or write, since a password shared that way is
// no longer the user's alone.
std::optional<QString> readSecretFile(const QString& path, QString* error);

// Where the host keeps its snapshots for this account.
QString imapStateDirectory(const imap::ImapAccount& account);

} // namespace velmora
