#include "base/HostYield.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTimer>

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

void waitForHostEvents() {
    // The timer guarantees an event, so the wait ends within kIdleWaitMs.
    QTimer wakeUp;
    wakeUp.setSingleShot(true);
    wakeUp.start(kIdleWaitMs);
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    yieldClock().sinceFullPass.start();
}

} // namespace velmora
