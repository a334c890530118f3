#include "ui/HelpViewer.h"

#include <QTextBrowser>
#include <QUrl>
#include <QVBoxLayout>

namespace velmora {

const QUrl& HelpViewer::helpPage() {
    static const QUrl page(QStringLiteral("qrc:/help/help.html"));
    return page;
}

HelpViewer::HelpViewer(QWidget* parent) : QWidget(parent, Qt::Window) {
    setObjectName(QStringLiteral("HelpViewer"));
    setWindowTitle(QStringLiteral("Velmora Help"));
    m_browser = new QTextBrowser(this);
    m_browser->setObjectName(QStringLiteral("WebBrowser1"));
    m_browser->setOpenExternalLinks(true);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_browser);
    resize(560, 620);
}

void HelpViewer::open() {
    if (isVisible()) {
        raise();
        activateWindow();
        return;
    }
    m_browser->setSource(helpPage());
    show();
}

} // namespace velmora
