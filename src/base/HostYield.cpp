#include "base/HostYield.h"

#include <QCoreApplication>
#include <QElapsedTimer>

namespace velmora {
namespace {

// When the event loop last had a full pass; shared by every yield point.
struct YieldClock {
    QElapsedTimer sinceFullPass;
};

YieldClock& yieldClock() {
    static YieldClock clock;
    return clock;
}

} // namespace

void yieldToHost() {
    YieldClock& clock = yieldClock();
    if (!clock.sinceFullPass.isValid() ||
        clock.sinceFullPass.nsecsElapsed() >= kFullPassIntervalNs) {
        QCoreApplication::processEvents();
        clock.sinceFullPass.start();
    } else {
        QCoreApplication::sendPostedEvents();
    }
}

} // namespace velmora
