#pragma once

#include "analysis/FilterState.h"

#include <QString>
#include <QStringList>

#include <functional>

namespace velmora {

// The two prompts: whether to build the missing database ("Velmora"), and
// whether a sender found both among the junk and the trusted addresses is to
// be trusted ("Email address conflict"). Showing one does not block: its
// answer comes later, through the host's event loop, as one button setting
// PromptAccepted (OK, TRUST) or PromptClosed (Cancel, JUNK). Closing a prompt
// by its frame is no answer.
class PromptDialogs {
public:
    virtual ~PromptDialogs() = default;
    virtual void showDatabasePrompt() = 0;
    virtual void unloadDatabasePrompt() = 0;
    virtual void showAddressConflict(const QString& address) = 0;
    virtual void unloadAddressConflict() = 0;
    // False once the conflict prompt has been unloaded (by its opener, or by
    // the add-in letting go of the host while the opener still waits).
    virtual bool addressConflictOpen() const = 0;
};

// Answers every prompt the same way, through the event loop, as a user would;
// for daemons and tests. Records what it was shown.
class HeadlessPromptAnswerer final : public PromptDialogs {
public:
    enum class Answer { Accept, Close, Never };

    explicit HeadlessPromptAnswerer(Answer answer) : answer(answer) {}
    // Where the answers go: the flags of the filter that asks.
    void answerInto(FilterFlags& flags) { m_flags = &flags; }

    void showDatabasePrompt() override;
    void unloadDatabasePrompt() override { shown.append(QStringLiteral("unload database prompt")); }
    void showAddressConflict(const QString& address) override;
    void unloadAddressConflict() override {
        shown.append(QStringLiteral("unload conflict prompt"));
        m_conflictOpen = false;
    }
    bool addressConflictOpen() const override { return m_conflictOpen; }
    // Answers the prompt shown last, through the event loop (for answers that
    // come later than the prompt, typed on a terminal say).
    void answerWith(Answer given);

private:
    void answerLater(const QString& prompt);
    FilterFlags* m_flags = nullptr;
    bool m_conflictOpen = false;

public:
    Answer answer;
    // When set, asked for each prompt (its text as recorded in `shown`) and
    // its answer given instead of `answer`; Never leaves the answer to a
    // later answerWith().
    std::function<Answer(const QString& prompt)> decide;
    QStringList shown;
};

} // namespace velmora
