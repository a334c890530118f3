#pragma once

#include "analysis/FilterState.h"

#include <functional>

namespace velmora {

// Opens a prompt without blocking and waits for its answer: clears both answer
// flags, shows the prompt, lets the host run its events until one of the
// flags is set, then unloads the prompt. Returns PromptAccepted. Further host
// events may run (and open the same prompt again) while it waits.
bool waitForPromptAnswer(FilterFlags& flags, const std::function<void()>& show,
                         const std::function<void()>& unload);

} // namespace velmora
