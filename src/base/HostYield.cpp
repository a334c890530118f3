#include "base/HostYield.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTimer>

namespace velmora {
namespace {

// When the event loop last had a full pass; shared by every yield point.
// Reading the clock costs more than delivering posted events when there are
// none, so it is read only every kYieldsPerClockRead yields.
struct YieldClock {
    QElapsedTimer sinceFullPass;
    int yieldsSinceClockRead = 0;
};

constexpr int kYieldsPerClockRead = 16;

YieldClock& yieldClock() {
    static YieldClock clock;
    return clock;
}

} // namespace

void yieldToHost() {
    YieldClock& clock = yieldClock();
    if (++clock.yieldsSinceClockRead >= kYieldsPerClockRead || !clock.sinceFullPass.isValid()) {
        clock.yieldsSinceClockRead = 0;
        if (!clock.sinceFullPass.isValid() ||
            clock.sinceFullPass.nsecsElapsed() >= kFullPassIntervalNs) {
            QCoreApplication::processEvents();
            clock.sinceFullPass.start();
            return;
        }
    }
    QCoreApplication::sendPostedEvents();
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
