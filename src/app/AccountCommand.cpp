#include "app/AccountCommand.h"

#include "app/CommandOptions.h"
#include "app/ImapAccountSettings.h"
#include "base/VbError.h"
#include "hosts/imap/ImapApplication.h"
#include "settings/SettingsStore.h"
#include "settings/UserPaths.h"

#include <QCommandLineParser>

namespace velmora {

namespace {

// Logs in and lists the folders; prints what was found. Returns the
// account's special folders as the server names them, or nothing.
std::optional<imap::SpecialFolders> check(const ImapAccountChoice& choice, QTextStream& out,
                                          QTextStream& err) {
    QString problem;
    auto account = imapAccountFrom(choice, &problem);
    if (!account) {
        err << "velmora account: " << problem << '\n';
        return std::nullopt;
    }
    // Only a look: nothing is remembered of the folders yet.
    account->stateDirectory.clear();
    try {
        imap::ImapApplication app(*account, [&out](const QString& line) { out << line << '\n'; });
        out << "logged in to " << account->name() << "\n"
            << "  Inbox: " << app.inbox().serverName() << "\n"
            << "  Junk:  " << app.junk().serverName() << "\n"
            << "  Sent:  " << app.sent().serverName() << "\n"
            << "  Trash: " << app.trash().serverName() << "\n"
            << "  extensions used: " << app.extensionsInUse().join(QStringLiteral(" ")) << '\n';
        return imap::SpecialFolders{app.junk().serverName(), app.sent().serverName(),
                                    app.trash().serverName()};
    } catch (const VbError& error) {
        err << "velmora account: " << error.description() << '\n';
        return std::nullopt;
    }
}

} // namespace

int AccountCommand::run(const QStringList& arguments, QTextStream& out, QTextStream& err) {
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "add: logs in to the IMAP account named with --imap (the password read from the file "
        "named with --password-file, which only you may read), finds its Junk, Sent and Trash "
        "folders and saves the account for velmora watch. With --auth xoauth2 or oauthbearer "
        "the file holds an OAuth access token, or, with --oauth-token-url and "
        "--oauth-client-id, a refresh token exchanged there for access tokens.\n"
        "test: logs in to the saved account and shows what it finds.\n"
        "remove: forgets the saved account (the password file is left alone)."));
    parser.addPositionalArgument(QStringLiteral("action"), QStringLiteral("add, test or remove"));
    const ImapOptions imapOptions;
    imapOptions.addTo(parser);
    if (const auto code = parseOptions(parser, name(), arguments, out, err))
        return *code;
    const QStringList positional = parser.positionalArguments();
    const QString action = positional.value(0);
    if (positional.size() != 1 ||
        (action != QStringLiteral("add") && action != QStringLiteral("test") &&
         action != QStringLiteral("remove"))) {
        err << "velmora account: say add, test or remove\n";
        return kExitUsage;
    }
    SettingsStore settings(userSettingsFile());
    const ImapAccountChoice saved = savedImapAccount(settings);
    if (action == QStringLiteral("remove")) {
        if (!saved.isSet()) {
            out << "no account saved\n";
            return kExitOk;
        }
        removeImapAccount(settings);
        out << "forgot " << saved.url << '\n';
        return kExitOk;
    }
    if (action == QStringLiteral("add") && !parser.isSet(imapOptions.imap)) {
        err << "velmora account add: name the account with --imap imaps://user@host[:port]\n";
        return kExitUsage;
    }
    if (action == QStringLiteral("test") && !saved.isSet() && !parser.isSet(imapOptions.imap)) {
        err << "velmora account test: no account saved (velmora account add --imap ...)\n";
        return kExitError;
    }
    ImapAccountChoice choice = imapOptions.chosen(parser, saved);
    const auto folders = check(choice, out, err);
    if (!folders)
        return kExitError;
    if (action == QStringLiteral("add")) {
        choice.junk = folders->junk;
        choice.sent = folders->sent;
        choice.trash = folders->trash;
        saveImapAccount(settings, choice);
        out << "saved in " << settings.fileName() << '\n';
    }
    return kExitOk;
}

} // namespace velmora
