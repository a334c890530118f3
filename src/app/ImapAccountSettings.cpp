#include "app/ImapAccountSettings.h"

#include "hosts/imap/OAuthTokens.h"
#include "settings/UserPaths.h"

#include <QFile>
#include <QFileInfo>
#include <QUrl>

namespace velmora {

namespace {

const QString kSection = QStringLiteral("Imap");

QString saved(const SettingsStore& settings, const char* key) {
    return settings.appSetting(kSection, QLatin1StringView(key)).trimmed();
}

} // namespace

ImapAccountChoice ImapOptions::chosen(const QCommandLineParser& parser,
                                      const ImapAccountChoice& saved) const {
    ImapAccountChoice choice = saved;
    if (parser.isSet(imap)) {
        // Another account than the saved one: its folders are found anew.
        choice = ImapAccountChoice();
        choice.url = parser.value(imap);
        if (saved.url == choice.url) {
            choice.passwordFile = saved.passwordFile;
            choice.passwordInKeyring = saved.passwordInKeyring;
        }
    }
    // Either option replaces where the saved account keeps its secret; both
    // together are left for imapAccountFrom() to refuse.
    const bool fromFile = parser.isSet(passwordFile);
    const bool fromKeyring = parser.isSet(passwordKeyring);
    if (fromFile || fromKeyring) {
        choice.passwordFile = fromFile ? parser.value(passwordFile) : QString();
        choice.passwordInKeyring = fromKeyring;
    }
    if (parser.isSet(caFile))
        choice.caFile = parser.value(caFile);
    if (parser.isSet(auth))
        choice.auth = parser.value(auth);
    if (parser.isSet(oauthTokenUrl))
        choice.oauthTokenUrl = parser.value(oauthTokenUrl);
    if (parser.isSet(oauthClientId))
        choice.oauthClientId = parser.value(oauthClientId);
    if (parser.isSet(oauthClientSecret))
        choice.oauthClientSecret = parser.value(oauthClientSecret);
    return choice;
}

ImapAccountChoice savedImapAccount(const SettingsStore& settings) {
    ImapAccountChoice choice;
    choice.url = saved(settings, "Url");
    choice.passwordFile = saved(settings, "PasswordFile");
    choice.passwordInKeyring = saved(settings, "PasswordKeyring") == QStringLiteral("true");
    choice.caFile = saved(settings, "CaFile");
    choice.auth = saved(settings, "Auth");
    choice.junk = saved(settings, "Junk");
    choice.sent = saved(settings, "Sent");
    choice.trash = saved(settings, "Trash");
    choice.oauthTokenUrl = saved(settings, "OAuthTokenUrl");
    choice.oauthClientId = saved(settings, "OAuthClientId");
    choice.oauthClientSecret = saved(settings, "OAuthClientSecret");
    return choice;
}

void saveImapAccount(SettingsStore& settings, const ImapAccountChoice& choice) {
    settings.saveAppSetting(kSection, QStringLiteral("Url"), choice.url);
    settings.saveAppSetting(kSection, QStringLiteral("PasswordFile"),
                            choice.passwordFile.isEmpty()
                                ? QString()
                                : QFileInfo(choice.passwordFile).absoluteFilePath());
    settings.saveAppSetting(kSection, QStringLiteral("PasswordKeyring"),
                            choice.passwordInKeyring ? QStringLiteral("true") : QString());
    settings.saveAppSetting(kSection, QStringLiteral("CaFile"),
                            choice.caFile.isEmpty() ? QString()
                                                    : QFileInfo(choice.caFile).absoluteFilePath());
    settings.saveAppSetting(kSection, QStringLiteral("Auth"), choice.auth);
    settings.saveAppSetting(kSection, QStringLiteral("Junk"), choice.junk);
    settings.saveAppSetting(kSection, QStringLiteral("Sent"), choice.sent);
    settings.saveAppSetting(kSection, QStringLiteral("Trash"), choice.trash);
    settings.saveAppSetting(kSection, QStringLiteral("OAuthTokenUrl"), choice.oauthTokenUrl);
    settings.saveAppSetting(kSection, QStringLiteral("OAuthClientId"), choice.oauthClientId);
    settings.saveAppSetting(kSection, QStringLiteral("OAuthClientSecret"),
                            choice.oauthClientSecret);
}

void removeImapAccount(SettingsStore& settings) {
    saveImapAccount(settings, ImapAccountChoice());
}

std::optional<QString> readSecretFile(const QString& path, QString* error) {
    const QFileInfo info(path);
    if (!info.exists()) {
        *error = path + QStringLiteral(": no such file");
        return std::nullopt;
    }
    const QFile::Permissions others =
        QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther;
    if (info.permissions() & others) {
        *error = QStringLiteral("%1: others may read it; a password file must be readable by "
                                "you alone (chmod 600 %1)")
                     .arg(path);
        return std::nullopt;
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = path + QStringLiteral(": ") + file.errorString();
        return std::nullopt;
    }
    QString secret = QString::fromUtf8(file.readAll());
    while (secret.endsWith(u'\n') || secret.endsWith(u'\r'))
        secret.chop(1);
    if (secret.isEmpty()) {
        *error = path + QStringLiteral(": the file is empty");
        return std::nullopt;
    }
    return secret;
}

namespace {

// The server and user that `text` names, or nothing with the reason.
std::optional<imap::ImapAccount> accountAt(const QString& text, QString* error) {
    const QUrl url(text, QUrl::StrictMode);
    imap::ImapAccount account;
    if (!url.isValid() || url.host().isEmpty() ||
        (url.scheme() != QStringLiteral("imaps") && url.scheme() != QStringLiteral("imap"))) {
        *error = QStringLiteral("%1: not an IMAP account; write imaps://user@host[:port] (TLS) "
                                "or imap://user@host[:port] (STARTTLS)")
                     .arg(text);
        return std::nullopt;
    }
    if (url.userName().isEmpty()) {
        *error = text + QStringLiteral(": no user name (imaps://user@host)");
        return std::nullopt;
    }
    if (!url.password().isEmpty()) {
        *error = QStringLiteral("a password in the URL is not taken: it would show in the list "
                                "of processes; put it in a file readable by you alone and name "
                                "it with --password-file, or keep it in the desktop keyring "
                                "with --password-keyring");
        return std::nullopt;
    }
    account.endpoint.host = url.host();
    account.endpoint.security = url.scheme() == QStringLiteral("imaps")
                                    ? imap::ImapEndpoint::Security::ImplicitTls
                                    : imap::ImapEndpoint::Security::StartTls;
    if (url.port() > 0)
        account.endpoint.port = quint16(url.port());
    account.credentials.user = url.userName();
    return account;
}

} // namespace

std::optional<DesktopKeyring::Entry> keyringEntryFor(const QString& url, QString* error) {
    const auto account = accountAt(url, error);
    if (!account)
        return std::nullopt;
    return DesktopKeyring::Entry{account->credentials.user, account->endpoint.name()};
}

std::optional<imap::ImapAccount> imapAccountFrom(const ImapAccountChoice& choice, QString* error,
                                                 const SecretSource& given) {
    auto found = accountAt(choice.url, error);
    if (!found)
        return std::nullopt;
    imap::ImapAccount account = std::move(*found);
    account.endpoint.caFile = choice.caFile;
    const QString auth = choice.auth.toLower();
    if (auth == QStringLiteral("xoauth2"))
        account.credentials.method = imap::ImapCredentials::Method::XOAuth2;
    else if (auth == QStringLiteral("oauthbearer"))
        account.credentials.method = imap::ImapCredentials::Method::OAuthBearer;
    else if (!auth.isEmpty() && auth != QStringLiteral("password")) {
        *error = choice.auth + QStringLiteral(": not a way to log in (password, xoauth2, "
                                              "oauthbearer)");
        return std::nullopt;
    }
    if (choice.passwordFile.isEmpty() && !choice.passwordInKeyring) {
        *error = QStringLiteral("no password: name a file readable by you alone that holds it, "
                                "with --password-file, or keep it in the desktop keyring with "
                                "--password-keyring");
        return std::nullopt;
    }
    if (!choice.passwordFile.isEmpty() && choice.passwordInKeyring) {
        *error = QStringLiteral("the password comes from --password-file or from "
                                "--password-keyring, not both");
        return std::nullopt;
    }
    const bool refreshes = !choice.oauthTokenUrl.isEmpty();
    if (refreshes) {
        const QUrl tokenUrl(choice.oauthTokenUrl, QUrl::StrictMode);
        if (account.credentials.method == imap::ImapCredentials::Method::Password) {
            *error = QStringLiteral("an OAuth token endpoint is of use only with --auth xoauth2 "
                                    "or oauthbearer");
            return std::nullopt;
        }
        if (!tokenUrl.isValid() || tokenUrl.scheme() != QStringLiteral("https") ||
            tokenUrl.host().isEmpty()) {
            *error = QStringLiteral("%1: not an https:// address; the refresh token is never "
                                    "sent in the clear")
                         .arg(choice.oauthTokenUrl);
            return std::nullopt;
        }
        if (choice.oauthClientId.isEmpty()) {
            *error = QStringLiteral("a refresh token needs the OAuth client it was issued to: "
                                    "name it with --oauth-client-id");
            return std::nullopt;
        }
    }
    const auto secret =
        given ? given(error)
        : choice.passwordInKeyring
            ? DesktopKeyring::lookup({account.credentials.user, account.endpoint.name()}, error)
            : readSecretFile(choice.passwordFile, error);
    if (!secret)
        return std::nullopt;
    if (refreshes) {
        imap::OAuthTokens::Client client{QUrl(choice.oauthTokenUrl), choice.oauthClientId,
                                         choice.oauthClientSecret, choice.caFile};
        account.credentials.tokens = std::make_shared<imap::OAuthTokens>(client, *secret);
    } else {
        account.credentials.secret = *secret;
    }
    account.folders = {choice.junk, choice.sent, choice.trash};
    account.stateDirectory = imapStateDirectory(account);
    return account;
}

QString imapStateDirectory(const imap::ImapAccount& account) {
    return userWorkRoot() + QStringLiteral("imap/") +
           QString::fromLatin1(account.name().toUtf8().toPercentEncoding("@"));
}

} // namespace velmora
