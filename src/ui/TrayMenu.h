#pragma once

#include <QObject>

#include <memory>

class QMenu;
class QSystemTrayIcon;

namespace velmora {

namespace memory {
class MemoryCommandBar;
}

// A mail client without windows of its own shows its command bar as the menu
// of an icon in the system tray: every control the add-in put on the bar is
// an entry there (a popup a submenu), and choosing one clicks it. The menu is
// built afresh each time it opens, so it always shows the bar as it is now.
class TrayMenu final : public QObject {
public:
    explicit TrayMenu(memory::MemoryCommandBar& bar);
    ~TrayMenu() override;

    // False where the desktop has no system tray.
    bool shown() const;
    QMenu& menu() { return *m_menu; }
    // Fills the menu from the bar (also done whenever it opens).
    void rebuild();

private:
    memory::MemoryCommandBar& m_bar;
    std::unique_ptr<QMenu> m_menu;
    std::unique_ptr<QSystemTrayIcon> m_icon;
};

} // namespace velmora
