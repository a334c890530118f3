#include "app/WatchCommand.h"

#include "app/CommandOptions.h"
#include "app/QuitSignals.h"
#include "app/UserSession.h"
#include "app/WatchSession.h"
#include "base/VbError.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QTimer>

namespace velmora {

int WatchCommand::run(const QStringList& arguments, QTextStream& out, QTextStream& err) {
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Filters the Maildir live: new mail in the Inbox is judged as it arrives "
                       "(spam goes to Junk with its score in the subject), and moves made in any "
                       "mail client teach the filter. Ends on SIGINT or SIGTERM."));
    const QCommandLineOption maildir = maildirOption();
    const QCommandLineOption stopAfter(
        QStringLiteral("stop-after"),
        QStringLiteral("Ends after this many seconds (for scripts and tests)."),
        QStringLiteral("seconds"));
    parser.addOptions({maildir, stopAfter});
    if (const auto code = parseOptions(parser, QStringLiteral("watch"), arguments, out, err))
        return *code;

    UserSession session(err);
    const QString path = chooseMaildir(parser.value(maildir), session.settings);
    const auto app = openMaildir(path, err);
    if (!app)
        return kExitError;
    try {
        WatchSession watch(session.connect, app, out);
        out << "watching " << app->root() << " (Inbox, Junk: " << app->junk().Name()
            << ", Sent: " << app->sent().Name() << "); the filter knows " << watch.knowledge()
            << '\n';
        out.flush();
        watch.deliverWaiting();
        QuitSignals quitSignals([&](int) { QCoreApplication::quit(); });
        if (parser.isSet(stopAfter))
            QTimer::singleShot(int(parser.value(stopAfter).toDouble() * 1000), qApp,
                               &QCoreApplication::quit);
        QCoreApplication::exec();
        watch.flush();
        out << "stopped\n";
    } catch (const VbError& error) {
        err << "velmora watch: " << error.description() << '\n';
        return kExitError;
    }
    return kExitOk;
}

} // namespace velmora
