#include "app/BuildCommand.h"

#include "app/ChosenMailbox.h"
#include "app/CommandOptions.h"
#include "app/UserSession.h"

#include <QTimer>

#include <unistd.h>

namespace velmora {

int BuildCommand::run(const QStringList& arguments, QTextStream& out, QTextStream& err) {
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Builds the database afresh from the Maildir (or the IMAP account): spam from Junk, good "
        "mail from your own "
        "folders, trusted senders from Sent. What the filter knew before is replaced (the old "
        "files are kept aside when they were not fully read)."));
    const MailboxOptions mailbox;
    mailbox.addTo(parser);
    if (const auto code = parseOptions(parser, name(), arguments, out, err))
        return *code;

    UserSession session(err);
    if (!session.mayUseData(name(), err))
        return kExitError;
    const auto opened = mailbox.open(parser, session.settings, name(), err);
    if (!opened)
        return kExitError;
    session.connect.OnConnection(opened->app);
    // The tool window's progress bar, drawn on the terminal.
    QTimer progress;
    if (::isatty(STDERR_FILENO)) {
        QObject::connect(&progress, &QTimer::timeout, [&] {
            const int percent = session.windows.window().progress();
            err << "\rbuilding [" << QString(percent / 4, u'#').leftJustified(25, u' ') << "] "
                << percent << "% ";
            err.flush();
        });
        progress.start(200);
    }
    session.connect.collect_emails();
    progress.stop();
    if (progress.isActive() || ::isatty(STDERR_FILENO))
        err << '\n';
    const SpamData& data = session.data();
    out << "built from " << opened->where << ": " << data.TxtTable.upperBound() << " text records, "
        << data.PicTable.upperBound() << " picture records, " << data.TrustedList.upperBound()
        << " trusted senders\n";
    session.connect.OnBeginShutdown();
    return kExitOk;
}

} // namespace velmora
