#include "base/MediaClock.h"
#include "base/SerialQueue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

namespace kasto {
namespace {

void sleepFor(double seconds) { std::this_thread::sleep_for(std::chrono::duration<double>(seconds)); }

TEST(SerialQueueTest, RunsJobsInOrderOnItsOwnThread) {
    SerialQueue queue("app.test.order", QueuePriority::userInteractive);
    std::vector<int> seen;
    bool onQueue = true;
    for (int i = 0; i < 1000; ++i) {
        queue.async([&, i] {
            seen.push_back(i);
            onQueue = onQueue && queue.isCurrent();
        });
    }
    queue.drain();
    ASSERT_EQ(seen.size(), 1000u);
    EXPECT_TRUE(std::ranges::is_sorted(seen));
    EXPECT_TRUE(onQueue);
    EXPECT_FALSE(queue.isCurrent());
}

TEST(SerialQueueTest, DestructionRunsWhatIsQueuedAndDropsTimers) {
    std::atomic<int> jobs = 0;
    std::atomic<int> ticks = 0;
    std::unique_ptr<QueueTimer> timer;
    {
        SerialQueue queue("app.test.end", QueuePriority::utility);
        timer = queue.startTimer(30, 30, 0, [&] { ++ticks; });
        queue.async([] { sleepFor(0.02); });
        for (int i = 0; i < 50; ++i) queue.async([&] { ++jobs; });
    }
    EXPECT_EQ(jobs, 50);
    EXPECT_EQ(ticks, 0);
    timer.reset();  // after its queue
}

TEST(SerialQueueTest, TimerKeepsToAbsoluteDueTimes) {
    SerialQueue queue("app.test.timer", QueuePriority::userInteractive);
    constexpr double kFirst = 0.03;
    constexpr double kInterval = 0.02;
    std::vector<double> fired;
    const double start = mediaClockNow();
    auto timer = queue.startTimer(kFirst, kInterval, 0, [&] {
        fired.push_back(mediaClockNow() - start);
        sleepFor(0.007);  // work that must not push later calls back
    });
    sleepFor(0.5);
    timer.reset();
    queue.drain();

    ASSERT_GE(fired.size(), 5u);
    std::vector<double> sinceDue;
    int lastDue = -1;
    for (const double at : fired) {
        ASSERT_GE(at, kFirst) << "early";
        const int due = static_cast<int>((at - kFirst) / kInterval);
        EXPECT_GT(due, lastDue) << "called twice for one due time";
        lastDue = due;
        sinceDue.push_back(at - kFirst - due * kInterval);
    }
    // Due times counted from the end of the former call would wander through the whole interval.
    std::ranges::sort(sinceDue);
    EXPECT_LT(sinceDue[sinceDue.size() / 2], 0.35 * kInterval);
}

TEST(SerialQueueTest, MissedDueTimesAreSkipped) {
    SerialQueue queue("app.test.missed", QueuePriority::userInteractive);
    std::atomic<int> count = 0;
    auto timer = queue.startTimer(0, 0.01, 0, [&] {
        if (++count == 1) sleepFor(0.2);
    });
    while (count < 2) sleepFor(0.001);
    timer.reset();
    queue.drain();
    EXPECT_LE(count, 15) << "the twenty calls missed during the long one must not be caught up";
}

TEST(SerialQueueTest, CancelledTimerIsSilent) {
    SerialQueue queue("app.test.cancel", QueuePriority::userInteractive);
    std::atomic<int> count = 0;
    auto timer = queue.startTimer(0, 0.001, 0, [&] { ++count; });
    while (count == 0) sleepFor(0.001);
    timer.reset();
    queue.drain();
    const int after = count;
    sleepFor(0.05);
    EXPECT_EQ(count, after);
}

TEST(SerialQueueTest, JobsAndTimersShareTheThread) {
    SerialQueue queue("app.test.shared", QueuePriority::userInteractive);
    int unguarded = 0;  // a race here is what ThreadSanitizer would report
    std::atomic<bool> fired = false;
    auto timer = queue.startTimer(0, 0.001, 0.002, [&] {
        ++unguarded;
        fired = true;
    });
    for (int i = 0; i < 200; ++i) queue.async([&] { ++unguarded; });
    while (!fired) sleepFor(0.001);
    timer.reset();
    queue.drain();
    EXPECT_GT(unguarded, 200);
}

}  // namespace
}  // namespace kasto
