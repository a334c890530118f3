#pragma once

#include "analysis/FilterState.h"
#include "analysis/PromptDialogs.h"

#include <functional>

namespace velmora {

// Opens a prompt without blocking and waits for its answer: clears both answer
// flags, shows the prompt, lets the host run its events until one of the
// flags is set, then unloads the prompt. Returns PromptAccepted. Further host
// events may run (and open the same prompt again) while it waits. When
// `stillOpen` is given and turns false (the add-in let go of the host and
// unloaded the prompt), the wait ends with no answer, instead of forever.
bool waitForPromptAnswer(FilterFlags& flags, const std::function<void()>& show,
                         const std::function<void()>& unload,
                         const std::function<bool()>& stillOpen = {});

// The prompt that offers to build the missing database; true when accepted.
bool askToBuildDatabase(FilterFlags& flags, PromptDialogs& prompts);

// The prompt about a sender that is both junk and trusted. Both answer flags
// may be set when it returns (both buttons were clicked before the wait saw
// either); the caller acts on each.
void askAboutAddressConflict(FilterFlags& flags, PromptDialogs& prompts, const QString& address);

} // namespace velmora
