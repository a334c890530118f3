#include "app/WindowCommand.h"

#include "addin/Connect.h"
#include "app/DemoMailbox.h"
#include "ui/ToolBox.h"
#include "ui/WidgetAddinWindows.h"
#include "ui/WidgetMessageSink.h"

#include <QApplication>
#include <QDir>
#include <QTemporaryDir>

namespace velmora {

int WindowCommand::run(const QStringList& arguments, QTextStream& out, QTextStream& err) {
    QString demoDir = QStringLiteral(VELMORA_DEMO_DIR);
    QString workRoot;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        if (arguments[i] == QStringLiteral("--demo-dir") && i + 1 < arguments.size())
            demoDir = arguments[++i];
        else if (arguments[i] == QStringLiteral("--work-root") && i + 1 < arguments.size())
            workRoot = arguments[++i];
        else {
            err << "usage: velmora window [--demo-dir DIR] [--work-root DIR]\n";
            return 2;
        }
    }
    if (!qobject_cast<QApplication*>(QCoreApplication::instance())) {
        err << "velmora window: no window system here\n";
        return 1;
    }
    QTemporaryDir temporary;
    const QString root = workRoot.isEmpty() ? temporary.path() : workRoot;

    installMessageSinkForPlatform();
    const DemoMailbox mailbox = loadDemoMailbox(demoDir, true, err);
    SettingsStore settings(QDir(root).filePath(QStringLiteral("velmora.ini")));
    WidgetAddinWindows windows;
    Connect connect(DataFolder(QDir(root).filePath(QStringLiteral("CORVANELSPAM"))), settings,
                    windows);
    connect.OnConnection(mailbox.app);
    connect.Show();
    out << "The tool window is open on the demo mailbox; \"Analyse Folders\" builds the "
           "database,\n\"MoveSpam in Sel.Folder\" sweeps the Inbox. Close the window to end.\n";
    out.flush();
    // The tool window does not end the application by itself (in a mail
    // client it never would); here closing it is the end.
    QObject::connect(windows.loadedToolBox(), &QObject::destroyed, qApp, &QCoreApplication::quit);
    const int code = QApplication::exec();
    connect.OnBeginShutdown();
    return code;
}

} // namespace velmora
