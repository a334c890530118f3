#include "app/WatchCommand.h"

#include "app/CommandOptions.h"
#include "app/DataFolderLock.h"
#include "app/ImapAccountSettings.h"
#include "app/ImapWatchSession.h"
#include "app/QuitSignals.h"
#include "app/StarterPictures.h"
#include "app/UserSession.h"
#include "app/WatchReport.h"
#include "app/WatchSession.h"
#include "base/VbError.h"
#include "settings/UserPaths.h"
#include "ui/ToolBox.h"
#include "ui/TrayMenu.h"
#include "ui/WidgetAddinWindows.h"
#include "ui/WidgetMessageSink.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDateTime>
#include <QTimer>

namespace velmora {

namespace {

// Runs the event loop until the user quits (or `stopAfterSeconds` pass, when
// not negative), then saves what the watch still holds.
template <typename Watch>
void runUntilQuit(Watch& watch, double stopAfterSeconds, QTextStream& out) {
    if (stopAfterSeconds >= 0)
        QTimer::singleShot(int(stopAfterSeconds * 1000), QCoreApplication::instance(),
                           &QCoreApplication::quit);
    QCoreApplication::exec();
    watch.flush();
    out << "stopped\n";
}

// Runs the filter on the Maildir until SIGINT or SIGTERM (or --stop-after),
// with the add-in's menu in the system tray when there is a screen.
int watchUntilStopped(Connect& connect, SettingsStore& settings, const QString& maildirOption,
                      double stopAfterSeconds, bool trayMenu, QTextStream& out, QTextStream& err) {
    const QString path = chooseMaildir(maildirOption, settings);
    const auto app = openMaildir(path, settings, err);
    if (!app)
        return kExitError;
    // Installed first: a signal during the start (a long backlog, a question)
    // ends it through the host's Quit too.
    QuitSignals quitSignals([&](int) { QCoreApplication::quit(); });
    try {
        WatchSession watch(connect, app, out);
        std::unique_ptr<TrayMenu> tray;
        if (trayMenu)
            tray = std::make_unique<TrayMenu>(app->explorer().menuBars().standard());
        out << "watching " << app->root() << " (Inbox, Junk: " << app->junk().Name()
            << ", Sent: " << app->sent().Name() << "); the filter knows "
            << knowledgeOf(connect.state().data) << '\n';
        if (tray && !tray->shown())
            out << "no system tray here: the menu is not shown\n";
        out.flush();
        watch.deliverWaiting();
        runUntilQuit(watch, stopAfterSeconds, out);
    } catch (const VbError& error) {
        err << "velmora watch: " << error.description() << '\n';
        return kExitError;
    }
    return kExitOk;
}

// How long the watchers may take to replay what happened since the last run
// before the watch reports itself as running anyway.
constexpr int kCatchUpMs = 120'000;

// Runs the filter on an IMAP account until SIGINT or SIGTERM (or
// --stop-after).
int watchImapUntilStopped(Connect& connect, const ImapAccountChoice& choice,
                          double stopAfterSeconds, bool trayMenu, QTextStream& out,
                          QTextStream& err) {
    QString problem;
    const auto account = imapAccountFrom(choice, &problem);
    if (!account) {
        err << "velmora watch: " << problem << '\n';
        return kExitError;
    }
    QuitSignals quitSignals([&](int) { QCoreApplication::quit(); });
    const auto log = [&out](const QString& line) {
        out << QDateTime::currentDateTime().toString(QStringLiteral("HH:mm:ss.zzz ")) << line
            << '\n';
        out.flush();
    };
    try {
        const auto app = std::make_shared<imap::ImapApplication>(*account, log);
        ImapWatchSession watch(connect, app, out);
        std::unique_ptr<TrayMenu> tray;
        if (trayMenu)
            tray = std::make_unique<TrayMenu>(app->explorer().memoryCommandBars().standard());
        if (!watch.waitUntilWatching(kCatchUpMs))
            out << "not every folder is watched yet; going on\n";
        out << "watching " << account->name() << " (Inbox, Junk: " << app->junk().Name()
            << ", Sent: " << app->sent().Name() << ", Trash: " << app->trash().Name()
            << "; extensions: " << app->extensionsInUse().join(QStringLiteral(" "))
            << "); the filter knows " << knowledgeOf(connect.state().data) << '\n';
        out.flush();
        runUntilQuit(watch, stopAfterSeconds, out);
    } catch (const VbError& error) {
        err << "velmora watch: " << error.description() << '\n';
        return kExitError;
    }
    return kExitOk;
}

} // namespace

int WatchCommand::run(const QStringList& arguments, QTextStream& out, QTextStream& err) {
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Filters the Maildir (or, with --imap or an account added by velmora account add, an "
        "IMAP account) live: new mail in the Inbox is judged as it arrives (spam goes to "
        "Junk with its score in the subject), and moves made in any mail client teach the "
        "filter. With a display, the menu is in the system tray and questions come as windows; "
        "without one, questions are asked on the terminal (or declined and logged). Ends on "
        "SIGINT or SIGTERM."));
    const QCommandLineOption maildir = maildirOption();
    const QCommandLineOption stopAfter(
        QStringLiteral("stop-after"),
        QStringLiteral("Ends after this many seconds (for scripts and tests)."),
        QStringLiteral("seconds"));
    const QCommandLineOption headless(
        QStringLiteral("headless"),
        QStringLiteral("No tray menu or windows, even with a display."));
    parser.addOptions({maildir, stopAfter, headless});
    const ImapOptions imapOptions;
    imapOptions.addTo(parser);
    if (const auto code = parseOptions(parser, QStringLiteral("watch"), arguments, out, err))
        return *code;
    // An account named on the command line, or saved by `velmora account
    // add`, is watched unless a Maildir is asked for.
    const auto imapChoice = [&](const SettingsStore& settings) {
        if (parser.isSet(maildir))
            return ImapAccountChoice();
        return imapOptions.chosen(parser, savedImapAccount(settings));
    };
    const double stopAfterSeconds =
        parser.isSet(stopAfter) ? parser.value(stopAfter).toDouble() : -1;

    // A display that only pretends (offscreen) shows no tray and no question.
    const bool screen = qobject_cast<QApplication*>(QCoreApplication::instance()) &&
                        QGuiApplication::platformName() != QStringLiteral("offscreen") &&
                        QGuiApplication::platformName() != QStringLiteral("minimal");
    if (screen && !parser.isSet(headless)) {
        QApplication::setQuitOnLastWindowClosed(false); // the tool window comes and goes
        installMessageSinkForPlatform();
        const DataFolderLock lock(userWorkRoot());
        if (!lock.held()) {
            err << "velmora watch: " << lock.refusal() << '\n';
            return kExitError;
        }
        SettingsStore settings(userSettingsFile());
        provideStarterPictures(DataFolder(userWorkRoot()));
        WidgetAddinWindows windows;
        Connect connect(DataFolder(userWorkRoot()), settings, windows);
        if (const ImapAccountChoice choice = imapChoice(settings); choice.isSet())
            return watchImapUntilStopped(connect, choice, stopAfterSeconds, true, out, err);
        return watchUntilStopped(connect, settings, parser.value(maildir), stopAfterSeconds, true,
                                 out, err);
    }
    UserSession session(err);
    if (!session.mayUseData(name(), err))
        return kExitError;
    if (const ImapAccountChoice choice = imapChoice(session.settings); choice.isSet())
        return watchImapUntilStopped(session.connect, choice, stopAfterSeconds, false, out, err);
    return watchUntilStopped(session.connect, session.settings, parser.value(maildir),
                             stopAfterSeconds, false, out, err);
}

} // namespace velmora
