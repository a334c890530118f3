#pragma once

#include <QWidget>

class QTextBrowser;

namespace velmora {

// A small window showing the product's help page.
class HelpViewer final : public QWidget {
public:
    static const QUrl& helpPage();

    explicit HelpViewer(QWidget* parent = nullptr);

    // Brings the window to the front if it is shown; otherwise opens the help
    // page and shows the window without blocking.
    void open();

    QTextBrowser* browser() const { return m_browser; }

private:
    QTextBrowser* m_browser;
};

} // namespace velmora
