#include "base/PollThread.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <future>

namespace kasto::test {
namespace {

using Wake = PollWaiter::Wake;

TEST(PollThreadTest, WakesForDescriptorsTimeoutsAndTheEnd) {
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe(ends.data()), 0);
    const FileDescriptor readEnd(ends[0]), writeEnd(ends[1]);
    std::promise<std::vector<Wake>> seen;
    std::promise<void> waitsForTheEnd;
    {
        auto thread = PollThread::make().value();
        thread.start("test", [&](const PollWaiter& waiter) {
            std::vector<Wake> wakes{waiter.pause(1), waiter.wait({readEnd.get()}, 1), waiter.wait({-1}, 1)};
            EXPECT_EQ(write(writeEnd.get(), "x", 1), 1);
            wakes.push_back(waiter.wait({-1, readEnd.get()}));
            waitsForTheEnd.set_value();
            wakes.push_back(waiter.pause(60'000));
            wakes.push_back(waiter.wait({readEnd.get()}));
            seen.set_value(wakes);
        });
        waitsForTheEnd.get_future().wait();
    }
    EXPECT_EQ(seen.get_future().get(), (std::vector{Wake::timedOut, Wake::timedOut, Wake::timedOut,
                                                    Wake::readable, Wake::stopped, Wake::stopped}));
}

}  // namespace
}  // namespace kasto::test
