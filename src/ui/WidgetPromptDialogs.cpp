#include "ui/WidgetPromptDialogs.h"

#include "ui/Dialog.h"
#include "ui/Dialog2.h"

namespace velmora {

WidgetPromptDialogs::~WidgetPromptDialogs() {
    delete m_databasePrompt;
    delete m_conflictPrompt;
}

void WidgetPromptDialogs::showDatabasePrompt() {
    if (!m_databasePrompt)
        m_databasePrompt = new Dialog2(m_flags);
    m_databasePrompt->show();
    m_databasePrompt->raise();
    m_databasePrompt->activateWindow();
}

void WidgetPromptDialogs::unloadDatabasePrompt() {
    // Later events may still be inside the wait of an outer opener; the
    // window is made again should that opener show it once more.
    if (m_databasePrompt)
        m_databasePrompt->deleteLater();
    m_databasePrompt = nullptr;
}

void WidgetPromptDialogs::showAddressConflict(const QString& address) {
    if (m_conflictPrompt)
        m_conflictPrompt->deleteLater();
    m_conflictPrompt = new Dialog(m_flags, address);
    m_conflictPrompt->show();
    m_conflictPrompt->raise();
    m_conflictPrompt->activateWindow();
}

void WidgetPromptDialogs::unloadAddressConflict() {
    if (m_conflictPrompt)
        m_conflictPrompt->deleteLater();
    m_conflictPrompt = nullptr;
}

} // namespace velmora
