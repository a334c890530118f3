#include "analysis/PromptWait.h"

#include "base/HostYield.h"

namespace velmora {

bool waitForPromptAnswer(FilterFlags& flags, const std::function<void()>& show,
                         const std::function<void()>& unload) {
    show();
    flags.PromptClosed = kFalse;
    flags.PromptAccepted = kFalse;
    while (flags.PromptAccepted == kFalse && flags.PromptClosed == kFalse)
        waitForHostEvents();
    unload();
    return flags.PromptAccepted != kFalse;
}

bool askToBuildDatabase(FilterFlags& flags, PromptDialogs& prompts) {
    return waitForPromptAnswer(
        flags, [&] { prompts.showDatabasePrompt(); }, [&] { prompts.unloadDatabasePrompt(); });
}

void askAboutAddressConflict(FilterFlags& flags, PromptDialogs& prompts, const QString& address) {
    waitForPromptAnswer(
        flags, [&] { prompts.showAddressConflict(address); },
        [&] { prompts.unloadAddressConflict(); });
}

} // namespace velmora
