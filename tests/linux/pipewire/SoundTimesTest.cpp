// What happens to sound between the realtime thread and the take: no sample is lost, and times are smooth.

#include "linux/pipewire/sound/BlockRing.h"
#include "linux/pipewire/sound/CaptureClock.h"

#include <gtest/gtest.h>

#include <cmath>
#include <thread>

namespace kasto::pipewire {
namespace {

constexpr int kFrames = 1024;
constexpr double kBlockS = static_cast<double>(kFrames) / kSoundRate;

TEST(CaptureClockTest, smoothsWaveringTimesAndFollowsTheDevice) {
    for (const double drift : {0.0, 500e-6, -500e-6}) {
        CaptureClock clock;
        double worstS = 0;
        for (int block = 0; block < 3000; ++block) {
            const double trueS = 7000 + block * kBlockS / (1 + drift);
            const double waverS = 0.004 * std::sin(block * 2.4);
            const double timeS = clock.timeOf(trueS + waverS, kFrames);
            if (block > 500) worstS = std::max(worstS, std::abs(timeS - trueS));
        }
        EXPECT_LT(worstS, 0.0004) << drift;
    }
}

TEST(CaptureClockTest, keepsGapsAndJumpsBack) {
    CaptureClock clock;
    double trueS = 100;
    for (const double jumpS : {0.0, kBlockS, 3.0, -0.5, 1e6}) {
        trueS += jumpS;
        for (int block = 0; block < 50; ++block, trueS += kBlockS)
            ASSERT_NEAR(clock.timeOf(trueS, kFrames), trueS, 1e-6) << jumpS;
    }
}

TEST(BlockRingTest, handsOnEveryBlockWholeAndInOrder) {
    constexpr int kBlocks = 2'000;
    BlockRing ring(1024);
    std::thread realtime([&] {
        std::vector<float> samples;
        for (int block = 0; block < kBlocks; ++block) {
            samples.assign(static_cast<std::size_t>(1 + block % 317), static_cast<float>(block));
            while (!ring.push(samples, block)) std::this_thread::yield();
        }
    });
    int wrong = 0;
    for (int block = 0; block < kBlocks;) {
        const auto popped = ring.pop();
        if (!popped) {
            std::this_thread::yield();
            continue;
        }
        const std::vector<float> wanted(static_cast<std::size_t>(1 + block % 317), static_cast<float>(block));
        wrong += popped->timeNs != block || popped->samples != wanted;
        ++block;
    }
    realtime.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_FALSE(ring.push(std::vector<float>(1024), 0)) << "there is no room for its time";
}

}  // namespace
}  // namespace kasto::pipewire
