// An IMAP account as the user names it: the password only ever from a file
// of the user's own or the desktop keyring, never from the URL.
#include "app/ImapAccountSettings.h"
#include "hosts/imap/OAuthTokens.h"

#include "support/TestSupport.h"

#include <QFile>
#include <QTemporaryDir>

using namespace velmora;

TEST(ImapAccountSettings, PasswordOnlyFromAPrivateFileAndUrlsReadStrictly) {
    QTemporaryDir dir;
    const QString secret = dir.filePath(QStringLiteral("password"));
    {
        QFile file(secret);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("s3cret pass\r\n");
    }
    QString error;
    QFile::setPermissions(secret, QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup);
    EXPECT_FALSE(readSecretFile(secret, &error));
    EXPECT_TRUE(error.contains(QStringLiteral("readable by you alone (chmod 600 ")))
        << error.toStdString();
    QFile::setPermissions(secret, QFile::ReadOwner | QFile::WriteOwner);
    EXPECT_EQ(readSecretFile(secret, &error).value_or(QString()), QStringLiteral("s3cret pass"));

    ImapAccountChoice choice;
    choice.url = QStringLiteral("imaps://ann%40example.org@mail.example.org");
    choice.passwordFile = secret;
    auto account = imapAccountFrom(choice, &error);
    ASSERT_TRUE(account) << error.toStdString();
    EXPECT_EQ(account->credentials.user, QStringLiteral("ann@example.org"));
    EXPECT_EQ(account->credentials.secret, QStringLiteral("s3cret pass"));
    EXPECT_EQ(account->endpoint.security, imap::ImapEndpoint::Security::ImplicitTls);
    EXPECT_EQ(account->endpoint.effectivePort(), 993);
    EXPECT_EQ(account->name(), QStringLiteral("ann@example.org@mail.example.org:993"));

    choice.url = QStringLiteral("imap://ann@mail.example.org:1143");
    choice.auth = QStringLiteral("XOAUTH2");
    account = imapAccountFrom(choice, &error);
    ASSERT_TRUE(account) << error.toStdString();
    EXPECT_EQ(account->endpoint.security, imap::ImapEndpoint::Security::StartTls);
    EXPECT_EQ(account->endpoint.effectivePort(), 1143);
    EXPECT_EQ(account->credentials.method, imap::ImapCredentials::Method::XOAuth2);

    const struct {
        const char* url;
        const char* passwordFile;
        const char* error;
    } refused[] = {
        {"imaps://ann:pw@mail.example.org", "password", "a password in the URL is not taken"},
        {"https://ann@mail.example.org", "password", "not an IMAP account"},
        {"imaps://mail.example.org", "password", "no user name"},
        {"imaps://ann@mail.example.org", "", "no password: name a file"},
        {"imaps://ann@mail.example.org", "missing", "missing: no such file"},
    };
    for (const auto& r : refused) {
        ImapAccountChoice bad;
        bad.url = QString::fromUtf8(r.url);
        bad.passwordFile =
            *r.passwordFile ? dir.filePath(QString::fromUtf8(r.passwordFile)) : QString();
        error.clear();
        EXPECT_FALSE(imapAccountFrom(bad, &error)) << r.url;
        EXPECT_TRUE(error.contains(QString::fromUtf8(r.error))) << error.toStdString();
        EXPECT_FALSE(error.contains(QStringLiteral("s3cret"))) << "the secret is never shown";
    }
}

// With a token endpoint the file holds a refresh token: the endpoint must be
// https://, the method an OAuth one, and the client named.
TEST(ImapAccountSettings, RefreshTokensNeedAnHttpsEndpointAndAClient) {
    QTemporaryDir dir;
    const QString secret = dir.filePath(QStringLiteral("refresh-token"));
    {
        QFile file(secret);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("1//refresh-token\n");
    }
    QFile::setPermissions(secret, QFile::ReadOwner | QFile::WriteOwner);
    ImapAccountChoice choice;
    choice.url = QStringLiteral("imaps://ann@mail.example.org");
    choice.passwordFile = secret;
    choice.auth = QStringLiteral("oauthbearer");
    choice.oauthTokenUrl = QStringLiteral("https://login.example.org/oauth2/token");
    choice.oauthClientId = QStringLiteral("velmora-desktop");
    choice.caFile = QStringLiteral("/etc/ssl/private-ca.pem");
    QString error;
    const auto account = imapAccountFrom(choice, &error);
    ASSERT_TRUE(account) << error.toStdString();
    ASSERT_TRUE(account->credentials.tokens);
    EXPECT_TRUE(account->credentials.secret.isEmpty()) << "no access token in the account";
    const imap::OAuthTokens::Client& client = account->credentials.tokens->client();
    EXPECT_EQ(client.tokenUrl.toString(), choice.oauthTokenUrl);
    EXPECT_EQ(client.clientId, choice.oauthClientId);
    EXPECT_EQ(client.caFile, choice.caFile) << "the token endpoint trusts the same CA";

    const struct {
        const char* auth;
        const char* tokenUrl;
        const char* clientId;
        const char* error;
    } refused[] = {
        {"password", "https://login.example.org/token", "id", "only with --auth xoauth2"},
        {"xoauth2", "http://login.example.org/token", "id", "not an https:// address"},
        {"xoauth2", "login.example.org/token", "id", "not an https:// address"},
        {"xoauth2", "https://login.example.org/token", "", "name it with --oauth-client-id"},
    };
    for (const auto& r : refused) {
        ImapAccountChoice bad = choice;
        bad.auth = QString::fromUtf8(r.auth);
        bad.oauthTokenUrl = QString::fromUtf8(r.tokenUrl);
        bad.oauthClientId = QString::fromUtf8(r.clientId);
        error.clear();
        EXPECT_FALSE(imapAccountFrom(bad, &error)) << r.tokenUrl;
        EXPECT_TRUE(error.contains(QString::fromUtf8(r.error))) << error.toStdString();
        EXPECT_FALSE(error.contains(QStringLiteral("1//refresh"))) << "the token is never shown";
    }
}

// The secret from the desktop keyring instead of a file: the options replace
// where the saved account keeps it, exactly one source is taken, the choice
// survives the settings file, and a secret typed for `account add` is asked
// for only once the rest of the account is sound.
TEST(ImapAccountSettings, PasswordFromTheKeyringOrAFileNeverBoth) {
    QTemporaryDir dir;
    const ImapOptions options;
    const auto parsed = [&](const QStringList& arguments, const ImapAccountChoice& saved) {
        QCommandLineParser parser;
        options.addTo(parser);
        EXPECT_TRUE(parser.parse(QStringList{QStringLiteral("velmora")} + arguments))
            << parser.errorText().toStdString();
        return options.chosen(parser, saved);
    };
    const QString url = QStringLiteral("imaps://ann@mail.example.org");
    const QString file = dir.filePath(QStringLiteral("password"));

    ImapAccountChoice choice = parsed(
        {QStringLiteral("--imap"), url, QStringLiteral("--password-keyring")}, ImapAccountChoice());
    EXPECT_TRUE(choice.passwordInKeyring);
    EXPECT_TRUE(choice.passwordFile.isEmpty());
    SettingsStore settings(dir.filePath(QStringLiteral("settings.ini")));
    saveImapAccount(settings, choice);
    const ImapAccountChoice saved = savedImapAccount(settings);
    EXPECT_TRUE(saved.passwordInKeyring) << "kept in the settings file";
    EXPECT_TRUE(parsed({}, saved).passwordInKeyring);
    EXPECT_TRUE(parsed({QStringLiteral("--imap"), url}, saved).passwordInKeyring)
        << "the same account keeps its keyring";
    EXPECT_FALSE(parsed({QStringLiteral("--imap"), QStringLiteral("imaps://bob@other.org")}, saved)
                     .passwordInKeyring)
        << "another account does not";
    const ImapAccountChoice toFile = parsed({QStringLiteral("--password-file"), file}, saved);
    EXPECT_FALSE(toFile.passwordInKeyring);
    EXPECT_EQ(toFile.passwordFile, file);
    EXPECT_TRUE(parsed({QStringLiteral("--password-keyring")}, toFile).passwordFile.isEmpty());
    removeImapAccount(settings);
    EXPECT_FALSE(savedImapAccount(settings).passwordInKeyring);

    QString error;
    const auto both = parsed(
        {QStringLiteral("--password-file"), file, QStringLiteral("--password-keyring")}, saved);
    EXPECT_FALSE(imapAccountFrom(both, &error));
    EXPECT_TRUE(error.contains(QStringLiteral("--password-file or from --password-keyring, not "
                                              "both")))
        << error.toStdString();

    int asked = 0;
    const SecretSource typed = [&asked](QString*) {
        ++asked;
        return std::optional<QString>(QStringLiteral("typed secret"));
    };
    const auto account = imapAccountFrom(choice, &error, typed);
    ASSERT_TRUE(account) << error.toStdString();
    EXPECT_EQ(account->credentials.secret, QStringLiteral("typed secret"));
    ImapAccountChoice bad = choice;
    bad.url = QStringLiteral("imaps://mail.example.org");
    EXPECT_FALSE(imapAccountFrom(bad, &error, typed));
    EXPECT_EQ(asked, 1) << "no question for an account that cannot be used";
    const auto entry =
        keyringEntryFor(QStringLiteral("imap://ann%40example.org@mail.example.org"), &error);
    ASSERT_TRUE(entry) << error.toStdString();
    EXPECT_EQ(entry->user, QStringLiteral("ann@example.org"));
    EXPECT_EQ(entry->server, QStringLiteral("mail.example.org:143"));

    // No Secret Service: what was tried, why it failed, and the way round.
    const QByteArray bus = qgetenv("DBUS_SESSION_BUS_ADDRESS");
    const QString address = QStringLiteral("unix:path=") + dir.filePath(QStringLiteral("no-bus"));
    qputenv("DBUS_SESSION_BUS_ADDRESS", address.toUtf8());
    EXPECT_FALSE(imapAccountFrom(choice, &error));
    EXPECT_FALSE(DesktopKeyring::store(*entry, QStringLiteral("typed secret"), &error));
    EXPECT_FALSE(error.contains(QStringLiteral("typed secret"))) << "the secret is never shown";
    EXPECT_FALSE(DesktopKeyring::remove(*entry, &error));
    if (bus.isNull())
        qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    else
        qputenv("DBUS_SESSION_BUS_ADDRESS", bus);
    EXPECT_TRUE(error.startsWith(
        QStringLiteral(
            "the desktop keyring could not delete the password: tried the Secret Service "
            "(org.freedesktop.secrets) on the D-Bus session bus at ") +
        address))
        << error.toStdString();
    EXPECT_TRUE(error.endsWith(QStringLiteral("; keep the password in a file readable by you "
                                              "alone and name it with --password-file")))
        << error.toStdString();
}
