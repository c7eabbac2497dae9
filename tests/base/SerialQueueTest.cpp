#include "base/MediaClock.h"
#include "base/SerialQueue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>

namespace kasto {
namespace {

void sleepFor(double seconds) { std::this_thread::sleep_for(std::chrono::duration<double>(seconds)); }

TEST(SerialQueueTest, RunsJobsInOrderAndTimersOnItsOwnThreadUntilItEnds) {
    auto queue = std::make_unique<SerialQueue>("app.test.order", QueuePriority::userInteractive);
    std::vector<int> seen;
    int calls = 0;  // unguarded: a race here is what ThreadSanitizer would report
    std::atomic<bool> fired = false;
    auto timer = queue->startTimer(0, 0.001, 0.002, [&] { fired = ++calls > 0; });
    for (int i = 0; i < 1000; ++i)
        queue->async([&, i] {
            ++calls;
            seen.push_back(i);
        });
    while (!fired) sleepFor(0.001);
    timer.reset();
    queue->drain();
    ASSERT_EQ(seen.size(), 1000u);
    EXPECT_TRUE(std::ranges::is_sorted(seen));

    const int callsThen = calls;
    timer = queue->startTimer(30, 30, 0, [&] { ++calls; });
    queue->async([] { sleepFor(0.05); });
    for (int i = 0; i < 50; ++i) queue->async([&] { ++calls; });
    queue.reset();
    EXPECT_EQ(calls, callsThen + 50) << "cancelled timers are silent, queued jobs run";
    timer.reset();  // after its queue
}

TEST(SerialQueueTest, TimerKeepsToAbsoluteDueTimesAndSkipsMissedOnes) {
    SerialQueue queue("app.test.timer", QueuePriority::userInteractive);
    constexpr double kFirst = 0.03, kInterval = 0.02;
    std::vector<double> fired;
    const double start = mediaClockNow();
    auto timer = queue.startTimer(kFirst, kInterval, 0, [&] {
        fired.push_back(mediaClockNow() - start);
        sleepFor(fired.size() == 3 ? 0.1 : 0.007);  // work that must not push later calls back
    });
    sleepFor(0.5);
    timer.reset();
    queue.drain();

    ASSERT_GE(fired.size(), 5u);
    std::size_t prompt = 0;
    for (double lastDue = -1; const double at : fired) {
        const double due = std::floor((at - kFirst) / kInterval);
        EXPECT_GT(due, std::exchange(lastDue, due)) << "called early, or twice for one due time";
        if (at - kFirst - due * kInterval < 0.35 * kInterval) ++prompt;
    }
    EXPECT_GT(2 * prompt, fired.size()) << "due times count from the start, not from the former call's end";
}

}  // namespace
}  // namespace kasto
