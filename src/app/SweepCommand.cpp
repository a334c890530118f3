#include "app/SweepCommand.h"

#include "app/CommandOptions.h"
#include "app/UserSession.h"
#include "hosts/maildir/MaildirApplication.h"

namespace velmora {

int SweepCommand::run(const QStringList& arguments, QTextStream& out, QTextStream& err) {
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Judges every message of a folder and moves the spam into Junk, as the menu's sweep "
        "does for the folder open in the mail client."));
    const QCommandLineOption maildir = maildirOption();
    parser.addOption(maildir);
    parser.addPositionalArgument(
        QStringLiteral("folder"),
        QStringLiteral("The folder: Inbox, or a name such as Work/Projects."));
    if (const auto code = parseOptions(parser, name(), arguments, out, err))
        return *code;
    if (parser.positionalArguments().size() != 1) {
        err << "velmora sweep: name one folder (velmora sweep --help)\n";
        return kExitUsage;
    }
    const QString folderName = parser.positionalArguments().first();

    UserSession session(err);
    if (!session.mayUseData(name(), err))
        return kExitError;
    const auto app =
        openMaildir(chooseMaildir(parser.value(maildir), session.settings), session.settings, err);
    if (!app)
        return kExitError;
    const auto folder = app->findFolder(folderName);
    if (!folder || folder->directory().isEmpty()) {
        err << "velmora sweep: no folder " << folderName << " in " << app->root() << '\n';
        return kExitError;
    }
    session.connect.OnConnection(app);
    app->explorer().setCurrentFolder(folder);
    const int before = app->junk().Items().Count();
    session.connect.move_spamb();
    out << folder->Name() << ": " << app->junk().Items().Count() - before << " moved to "
        << app->junk().Name() << ", " << session.windows.window().statusText() << '\n';
    session.connect.OnBeginShutdown();
    return kExitOk;
}

} // namespace velmora
