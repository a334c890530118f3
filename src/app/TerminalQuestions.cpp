#include "app/TerminalQuestions.h"

#include <QSocketNotifier>

#include <unistd.h>

namespace velmora {

TerminalQuestions::TerminalQuestions(HeadlessPromptAnswerer& answerer, QTextStream& err)
    : m_answerer(answerer), m_err(err),
      m_input(std::make_unique<QSocketNotifier>(STDIN_FILENO, QSocketNotifier::Read)) {
    m_input->setEnabled(false);
    QObject::connect(m_input.get(), &QSocketNotifier::activated, this, [this] { readAnswer(); });
    m_answerer.decide = [this](const QString& prompt) { return ask(prompt); };
}

TerminalQuestions::~TerminalQuestions() {
    m_answerer.decide = nullptr;
}

HeadlessPromptAnswerer::Answer TerminalQuestions::ask(const QString& prompt) {
    if (prompt.startsWith(QStringLiteral("database prompt")))
        m_err << "Velmora has no database yet. Build it now from your folders? [y/N] ";
    else
        m_err << "The sender " << prompt.section(u' ', 2)
              << " is both trusted and in Junk. Keep it trusted? [y/N] ";
    m_err.flush();
    m_typed.clear();
    m_input->setEnabled(true);
    return HeadlessPromptAnswerer::Answer::Never; // answered when typed
}

void TerminalQuestions::readAnswer() {
    char buffer[256];
    const ssize_t got = ::read(STDIN_FILENO, buffer, sizeof buffer);
    if (got > 0) {
        m_typed.append(buffer, got);
        if (!m_typed.contains('\n'))
            return;
    }
    m_input->setEnabled(false);
    const bool yes = got > 0 && (m_typed.startsWith('y') || m_typed.startsWith('Y'));
    m_answerer.answerWith(yes ? HeadlessPromptAnswerer::Answer::Accept
                              : HeadlessPromptAnswerer::Answer::Close);
}

} // namespace velmora
