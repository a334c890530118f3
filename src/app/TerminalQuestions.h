#pragma once

#include "analysis/PromptDialogs.h"

#include <QObject>
#include <QTextStream>

#include <memory>

class QSocketNotifier;

namespace velmora {

// The filter's questions asked on the terminal. The answer is read when the
// user has typed it (a notifier on standard input), so the event loop, and
// with it the watching of the mailbox, goes on while the question waits.
// "y" accepts; anything else, or the end of the input, declines.
class TerminalQuestions final : public QObject {
public:
    TerminalQuestions(HeadlessPromptAnswerer& answerer, QTextStream& err);
    ~TerminalQuestions() override;

private:
    HeadlessPromptAnswerer::Answer ask(const QString& prompt);
    void readAnswer();

    HeadlessPromptAnswerer& m_answerer;
    QTextStream& m_err;
    std::unique_ptr<QSocketNotifier> m_input;
    QByteArray m_typed;
};

} // namespace velmora
