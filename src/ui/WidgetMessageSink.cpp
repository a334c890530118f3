#include "ui/WidgetMessageSink.h"

#include <QGuiApplication>
#include <QMessageBox>

namespace velmora {

void WidgetMessageSink::showMessage(const QString& text, const QString& title) {
    QMessageBox box(QMessageBox::NoIcon, title.isEmpty() ? QStringLiteral("Velmora") : title, text,
                    QMessageBox::Ok);
    box.exec();
}

bool windowSystemIsUp() {
    if (!qobject_cast<QGuiApplication*>(QCoreApplication::instance()))
        return false;
    const QString platform = QGuiApplication::platformName();
    return platform != QStringLiteral("offscreen") && platform != QStringLiteral("minimal");
}

void installMessageSinkForPlatform() {
    static WidgetMessageSink sink;
    if (windowSystemIsUp())
        setMessageSink(&sink);
}

} // namespace velmora
