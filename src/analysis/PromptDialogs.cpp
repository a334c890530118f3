#include "analysis/PromptDialogs.h"

#include <QTimer>

namespace velmora {

void HeadlessPromptAnswerer::showDatabasePrompt() {
    shown.append(QStringLiteral("database prompt"));
    answerLater(shown.last());
}

void HeadlessPromptAnswerer::showAddressConflict(const QString& address) {
    shown.append(QStringLiteral("conflict prompt ") + address);
    m_conflictOpen = true;
    answerLater(shown.last());
}

void HeadlessPromptAnswerer::answerLater(const QString& prompt) {
    answerWith(decide ? decide(prompt) : answer);
}

void HeadlessPromptAnswerer::answerWith(Answer given) {
    if (given == Answer::Never || !m_flags)
        return;
    FilterFlags* flags = m_flags;
    QTimer::singleShot(0, [flags, given] {
        if (given == Answer::Accept)
            flags->PromptAccepted = kTrue;
        else
            flags->PromptClosed = kTrue;
    });
}

} // namespace velmora
