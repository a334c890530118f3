#include "base/HostYield.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTimer>

#include <gtest/gtest.h>

using namespace velmora;

TEST(HostYield, DeliversPostedEventsAtOnceAndTimersSoon) {
    QObject receiver;
    int posted = 0;
    QMetaObject::invokeMethod(
        &receiver, [&] { ++posted; }, Qt::QueuedConnection);
    yieldToHost();
    EXPECT_EQ(posted, 1);

    bool fired = false;
    QTimer::singleShot(0, &receiver, [&] { fired = true; });
    QElapsedTimer clock;
    clock.start();
    while (!fired && clock.elapsed() < 1000)
        yieldToHost();
    EXPECT_TRUE(fired);
}
