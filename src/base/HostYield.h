#pragma once

namespace velmora {

// Lets the host's event loop run pending events, so that the mail client's
// window stays responsive in long loops. Everything runs on one thread, so
// further host events may be delivered from inside this call: callers must
// expect shared state to have changed when it returns. Cheap (well under a
// microsecond with nothing pending); does nothing before an application object
// exists.
void yieldToHost();

} // namespace velmora
