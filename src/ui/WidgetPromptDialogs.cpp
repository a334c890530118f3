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
        m_databasePrompt = new Dialog2(*m_flags);
    m_databasePrompt->show();
    m_databasePrompt->raise();
    m_databasePrompt->activateWindow();
}

void WidgetPromptDialogs::unloadDatabasePrompt() {
    // One window serves every opener, so it is hidden, not destroyed: an
    // outer opener still waiting shows the same window again.
    if (m_databasePrompt)
        m_databasePrompt->hide();
}

void WidgetPromptDialogs::showAddressConflict(const QString& address) {
    unloadAddressConflict();
    m_conflictPrompt = new Dialog(*m_flags, address);
    m_conflictPrompt->show();
    m_conflictPrompt->raise();
    m_conflictPrompt->activateWindow();
}

void WidgetPromptDialogs::unloadAddressConflict() {
    // Hidden at once: a deferred delete would leave it on screen until the
    // handler that opened it returns to the event loop.
    if (m_conflictPrompt) {
        m_conflictPrompt->hide();
        m_conflictPrompt->deleteLater();
    }
    m_conflictPrompt = nullptr;
}

} // namespace velmora
