#include "app/SweepCommand.h"

#include "app/ChosenMailbox.h"
#include "app/CommandOptions.h"
#include "app/UserSession.h"

namespace velmora {

int SweepCommand::run(const QStringList& arguments, QTextStream& out, QTextStream& err) {
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Judges every message of a folder and moves the spam into Junk, as the menu's sweep "
        "does for the folder open in the mail client."));
    const MailboxOptions mailbox;
    mailbox.addTo(parser);
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
    const auto opened = mailbox.open(parser, session.settings, name(), err);
    if (!opened)
        return kExitError;
    const FolderRef folder = opened->findFolder(folderName);
    if (!folder) {
        err << "velmora sweep: no folder " << folderName << " in " << opened->where << '\n';
        return kExitError;
    }
    session.connect.OnConnection(opened->app);
    opened->showFolder(folder);
    HostFolder& junk = *opened->junk;
    const int before = junk.Items().Count();
    session.connect.move_spamb();
    out << folder->Name() << ": " << junk.Items().Count() - before << " moved to " << junk.Name()
        << ", " << session.windows.window().statusText() << '\n';
    session.connect.OnBeginShutdown();
    return kExitOk;
}

} // namespace velmora
