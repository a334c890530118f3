#pragma once

#include <QtGlobal>

#include <chrono>

namespace velmora::events {

// Milliseconds on a clock that never jumps (not the wall clock), for pairing
// windows and timeouts.
inline qint64 monotonicMs() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

} // namespace velmora::events
