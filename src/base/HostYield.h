#pragma once

namespace velmora {

// Lets the host's event loop run pending events, so that the mail client's
// window stays responsive in long loops. Everything runs on one thread, so
// further host events may be delivered from inside this call: callers must
// expect shared state to have changed when it returns (and must not hold
// references into a table across it).
//
// Events posted to the application are delivered at every call. A full pass of
// the event loop, which also polls the window system and timers, costs a system
// call (over a microsecond here, some 60 ms per 32,767 records), so it runs at
// most once per kFullPassInterval; no input waits much longer than that (the
// clock is read every few yields, not at each one).
void yieldToHost();

inline constexpr long long kFullPassIntervalNs = 1'000'000; // 1 ms

// Lets the host run its events, sleeping until one arrives (at most
// kIdleWaitMs), for loops that wait on the user without spinning the processor.
void waitForHostEvents();

inline constexpr int kIdleWaitMs = 10;

} // namespace velmora
