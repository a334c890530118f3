#include "app/CommandLine.h"

#include <QApplication>
#include <QCoreApplication>
#include <QTextStream>

#include <cstring>
#include <memory>

int main(int argc, char** argv) {
    // Only the window needs a window system; `watch` uses one when there is a
    // display (for its tray menu and windows); everything else runs anywhere.
    const bool display =
        !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
    bool headless = false;
    for (int i = 2; i < argc; ++i)
        headless = headless || std::strcmp(argv[i], "--headless") == 0;
    const bool watchOnScreen =
        argc > 1 && std::strcmp(argv[1], "watch") == 0 && display && !headless;
    const bool window = argc > 1 && std::strcmp(argv[1], "window") == 0;
    if (window && qEnvironmentVariableIsEmpty("DISPLAY") &&
        qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") &&
        qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        QTextStream(stderr) << "velmora window: no display (set DISPLAY, or run it under "
                               "xvfb-run)\n";
        return 1;
    }
    std::unique_ptr<QCoreApplication> app;
    // A display that cannot be reached (a stale DISPLAY in a service) must not
    // end the watch: the platform falls back to none, and it runs headless.
    if (watchOnScreen && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")
                                       ? QByteArray("xcb;offscreen")
                                       : QByteArray("wayland;xcb;offscreen"));
    if (window || watchOnScreen)
        app = std::make_unique<QApplication>(argc, argv);
    else
        app = std::make_unique<QCoreApplication>(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("velmora"));
    QTextStream out(stdout);
    QTextStream err(stderr);
    const int code = velmora::runCommandLine(QCoreApplication::arguments().mid(1), out, err);
    out.flush();
    err.flush();
    return code;
}
