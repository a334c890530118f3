#include "app/AccountCommand.h"

#include "app/CommandOptions.h"
#include "app/DesktopKeyring.h"
#include "app/ImapAccountSettings.h"
#include "base/VbError.h"
#include "hosts/imap/ImapApplication.h"
#include "settings/SettingsStore.h"
#include "settings/UserPaths.h"

#include <QCommandLineParser>

#include <termios.h>

#include <array>
#include <csignal>
#include <optional>
#include <unistd.h>

namespace velmora {

namespace {

// An account saved over one whose secret was in the keyring under another
// entry (another user or server, or a password file now) does not leave that
// secret behind.
void forgetReplacedSecret(const ImapAccountChoice& replaced, const ImapAccountChoice& now,
                          QTextStream& out, QTextStream& err) {
    if (!replaced.passwordInKeyring)
        return;
    QString problem;
    const auto old = keyringEntryFor(replaced.url, &problem);
    if (old && now.passwordInKeyring) {
        const auto current = keyringEntryFor(now.url, &problem);
        if (current && current->user == old->user && current->server == old->server)
            return; // the same entry, just stored again
    }
    if (!old || !DesktopKeyring::remove(*old, &problem)) {
        err << "velmora account: the replaced account's password stays in the desktop keyring: "
            << problem << '\n';
        return;
    }
    out << "deleted the replaced account's password from the desktop keyring\n";
}

// The terminal stops echoing what is typed for as long as this lives, and
// echoes again however the prompt ends: a Ctrl-C (or a hang-up, or a kill)
// puts the terminal back before the process goes as the signal would make it.
class TerminalEchoOff {
public:
    TerminalEchoOff() {
        ::tcgetattr(STDIN_FILENO, &s_saved);
        struct sigaction restoring {};
        restoring.sa_handler = &restoreAndEnd;
        sigemptyset(&restoring.sa_mask);
        for (std::size_t i = 0; i < kSignals.size(); ++i)
            ::sigaction(kSignals[i], &restoring, &m_previous[i]);
        termios quiet = s_saved;
        quiet.c_lflag &= ~tcflag_t(ECHO);
        ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &quiet);
    }
    ~TerminalEchoOff() {
        ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &s_saved);
        for (std::size_t i = 0; i < kSignals.size(); ++i)
            ::sigaction(kSignals[i], &m_previous[i], nullptr);
    }
    TerminalEchoOff(const TerminalEchoOff&) = delete;
    TerminalEchoOff& operator=(const TerminalEchoOff&) = delete;

private:
    static constexpr std::array<int, 4> kSignals{SIGINT, SIGTERM, SIGHUP, SIGQUIT};

    static void restoreAndEnd(int signal) {
        ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &s_saved); // safe in a signal handler
        ::signal(signal, SIG_DFL);
        ::raise(signal);
    }

    static inline termios s_saved{};
    std::array<struct sigaction, kSignals.size()> m_previous{};
};

// The secret for `account add --password-keyring`: typed on the terminal
// without echo, or else all of standard input (a pipe or a file), its
// trailing line break dropped as from a password file. Never on the command
// line, where the list of processes would show it.
std::optional<QString> readTypedSecret(const QString& accountUrl, QTextStream& err,
                                       QString* error) {
    const bool terminal = ::isatty(STDIN_FILENO);
    std::optional<TerminalEchoOff> echoOff;
    if (terminal) {
        echoOff.emplace(); // before the prompt, so that nothing typed after it shows
        err << "Password for " << accountUrl << " (kept in the desktop keyring): ";
        err.flush();
    }
    QByteArray typed;
    char buffer[256];
    for (;;) {
        const ssize_t got = ::read(STDIN_FILENO, buffer, sizeof buffer);
        if (got <= 0)
            break;
        typed.append(buffer, got);
        if (terminal && typed.contains('\n'))
            break;
    }
    if (terminal) {
        echoOff.reset();
        err << '\n';
        if (const qsizetype end = typed.indexOf('\n'); end >= 0)
            typed.truncate(end);
    }
    QString secret = QString::fromUtf8(typed);
    typed.fill('\0');
    while (secret.endsWith(u'\n') || secret.endsWith(u'\r'))
        secret.chop(1);
    if (secret.isEmpty()) {
        *error = terminal ? QStringLiteral("no password typed")
                          : QStringLiteral("no password on standard input");
        return std::nullopt;
    }
    return secret;
}

// Logs in and lists the folders; prints what was found. Returns the
// account's special folders as the server names them, or nothing.
std::optional<imap::SpecialFolders> check(const ImapAccountChoice& choice, QTextStream& out,
                                          QTextStream& err, const SecretSource& given = {}) {
    QString problem;
    auto account = imapAccountFrom(choice, &problem, given);
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
        "named with --password-file, which only you may read, or with --password-keyring typed "
        "on the terminal or given on standard input and kept in the desktop keyring), finds its "
        "Junk, Sent and Trash folders and saves the account for velmora watch. With --auth "
        "xoauth2 or oauthbearer the secret is an OAuth access token, or, with "
        "--oauth-token-url and --oauth-client-id, a refresh token exchanged there for access "
        "tokens.\n"
        "test: logs in to the saved account and shows what it finds.\n"
        "remove: forgets the saved account and deletes its password from the desktop keyring "
        "(a password file is left alone)."));
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
        if (!saved.passwordInKeyring)
            return kExitOk;
        QString problem;
        const auto entry = keyringEntryFor(saved.url, &problem);
        if (!entry || !DesktopKeyring::remove(*entry, &problem)) {
            err << "velmora account: the password stays in the desktop keyring: " << problem
                << '\n';
            return kExitError;
        }
        out << "deleted its password from the desktop keyring\n";
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
    // A new secret for the keyring is asked for once the rest of the account
    // is found sound, and kept only once it has logged in.
    std::optional<QString> typed;
    SecretSource given;
    if (action == QStringLiteral("add") && parser.isSet(imapOptions.passwordKeyring))
        given = [&](QString* error) -> std::optional<QString> {
            // Nobody types a password for a keyring that cannot keep it.
            if (!DesktopKeyring::reachable(error))
                return std::nullopt;
            return typed = readTypedSecret(choice.url, err, error);
        };
    const auto folders = check(choice, out, err, given);
    if (!folders)
        return kExitError;
    if (action == QStringLiteral("add")) {
        if (typed) {
            QString problem;
            const auto entry = keyringEntryFor(choice.url, &problem);
            if (!entry || !DesktopKeyring::store(*entry, *typed, &problem)) {
                err << "velmora account: " << problem << '\n';
                return kExitError;
            }
            out << "kept the password in the desktop keyring\n";
        }
        choice.junk = folders->junk;
        choice.sent = folders->sent;
        choice.trash = folders->trash;
        saveImapAccount(settings, choice);
        out << "saved in " << settings.fileName() << '\n';
        forgetReplacedSecret(saved, choice, out, err);
    }
    return kExitOk;
}

} // namespace velmora
