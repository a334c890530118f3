#pragma once

#include "analysis/PromptDialogs.h"

#include <QPointer>

namespace velmora {

class Dialog;
class Dialog2;

// The prompts as windows. The database prompt is one window shared by all
// its openers (a second opener shows the same window again); the conflict
// prompt is made afresh for each opener.
class WidgetPromptDialogs final : public PromptDialogs {
public:
    WidgetPromptDialogs() = default;
    explicit WidgetPromptDialogs(FilterFlags& flags) : m_flags(&flags) {}
    // Where the buttons answer: the flags of the filter that asks.
    void answerInto(FilterFlags& flags) { m_flags = &flags; }
    ~WidgetPromptDialogs() override;

    void showDatabasePrompt() override;
    void unloadDatabasePrompt() override;
    void showAddressConflict(const QString& address) override;
    void unloadAddressConflict() override;
    bool addressConflictOpen() const override { return m_conflictPrompt != nullptr; }

    // The windows while they are shown, for tests and screenshots.
    Dialog2* databasePrompt() const { return m_databasePrompt; }
    Dialog* conflictPrompt() const { return m_conflictPrompt; }

private:
    FilterFlags* m_flags = nullptr;
    QPointer<Dialog2> m_databasePrompt;
    QPointer<Dialog> m_conflictPrompt;
};

} // namespace velmora
