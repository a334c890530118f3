#include "ui/TrayMenu.h"

#include "hosts/memory/MemoryCommandBars.h"

#include <QApplication>
#include <QMenu>
#include <QStyle>
#include <QSystemTrayIcon>

namespace velmora {
namespace {

void addControls(QMenu& menu, const QList<ControlRef>& controls) {
    for (const ControlRef& control : controls) {
        auto* memoryControl = dynamic_cast<memory::MemoryControl*>(control.get());
        if (!memoryControl)
            continue;
        if (control->type() == ControlType::Popup) {
            QMenu* sub = menu.addMenu(control->caption());
            sub->setEnabled(memoryControl->isEnabled());
            addControls(*sub, control->Controls());
            continue;
        }
        QAction* action = menu.addAction(control->caption());
        action->setEnabled(memoryControl->isEnabled());
        // Held weakly: the add-in may take its controls away at any time.
        const std::weak_ptr<memory::MemoryControl> weak = memoryControl->shared_from_this();
        QObject::connect(action, &QAction::triggered, [weak] {
            if (const auto alive = weak.lock())
                alive->click();
        });
    }
}

} // namespace

TrayMenu::TrayMenu(memory::MemoryCommandBar& bar) : m_bar(bar), m_menu(std::make_unique<QMenu>()) {
    QObject::connect(m_menu.get(), &QMenu::aboutToShow, this, [this] { rebuild(); });
    rebuild();
    if (QSystemTrayIcon::isSystemTrayAvailable()) {
        m_icon = std::make_unique<QSystemTrayIcon>(
            QApplication::style()->standardIcon(QStyle::SP_MessageBoxWarning));
        m_icon->setToolTip(QStringLiteral("Velmora"));
        m_icon->setContextMenu(m_menu.get());
        m_icon->show();
    }
}

TrayMenu::~TrayMenu() = default;

bool TrayMenu::shown() const {
    return m_icon && m_icon->isVisible();
}

void TrayMenu::rebuild() {
    m_menu->clear();
    addControls(*m_menu, m_bar.Controls());
}

} // namespace velmora
