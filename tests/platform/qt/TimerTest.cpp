#include "platform/qt/QtTimer.h"

#include <QTest>
#include <gtest/gtest.h>

namespace tavrel {
namespace {

using std::chrono::milliseconds;

TEST(ATimer, CallsOnceAfterItsDelay) {
    QtTimer timer;
    int calls = 0;
    timer.Start(milliseconds(20), [&] { ++calls; });
    EXPECT_EQ(calls, 0);
    QTest::qWait(100);
    EXPECT_EQ(calls, 1);
}

TEST(ATimer, CanBeStartedAgainByWhatItCalls) {
    QtTimer timer;
    int calls = 0;
    timer.Start(milliseconds(1), [&] {
        ++calls;
        timer.Start(milliseconds(1), [&] { ++calls; });
    });
    QTest::qWait(100);
    EXPECT_EQ(calls, 2);
}

TEST(ATimer, ReplacesACallThatHasNotCome) {
    QtTimer timer;
    std::string called;
    timer.Start(milliseconds(1), [&] { called += "first"; });
    timer.Start(milliseconds(1), [&] { called += "second"; });
    QTest::qWait(100);
    EXPECT_EQ(called, "second");
}

TEST(ATimer, ThatIsStoppedDoesNotCall) {
    QtTimer timer;
    int calls = 0;
    timer.Start(milliseconds(1), [&] { ++calls; });
    timer.Stop();
    QTest::qWait(50);
    EXPECT_EQ(calls, 0);
}

} // namespace
} // namespace tavrel
