#include "analysis/PromptWait.h"

#include "base/HostYield.h"

namespace velmora {

bool waitForPromptAnswer(FilterFlags& flags, const std::function<void()>& show,
                         const std::function<void()>& unload,
                         const std::function<bool()>& stillOpen) {
    show();
    flags.PromptClosed = kFalse;
    flags.PromptAccepted = kFalse;
    while (flags.PromptAccepted == kFalse && flags.PromptClosed == kFalse) {
        if (stillOpen && !stillOpen())
            break;
        waitForHostEvents();
    }
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
        [&] { prompts.unloadAddressConflict(); }, [&] { return prompts.addressConflictOpen(); });
}

} // namespace velmora
