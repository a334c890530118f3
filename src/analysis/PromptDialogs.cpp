#include "analysis/PromptDialogs.h"

#include <QTimer>

namespace velmora {

void HeadlessPromptAnswerer::showDatabasePrompt() {
    shown.append(QStringLiteral("database prompt"));
    answerLater();
}

void HeadlessPromptAnswerer::showAddressConflict(const QString& address) {
    shown.append(QStringLiteral("conflict prompt ") + address);
    m_conflictOpen = true;
    answerLater();
}

void HeadlessPromptAnswerer::answerLater() {
    if (answer == Answer::Never || !m_flags)
        return;
    FilterFlags* flags = m_flags;
    const Answer given = answer;
    QTimer::singleShot(0, [flags, given] {
        if (given == Answer::Accept)
            flags->PromptAccepted = kTrue;
        else
            flags->PromptClosed = kTrue;
    });
}

} // namespace velmora
