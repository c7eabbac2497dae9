#include "movie/h264/RateControl.h"

#include <gtest/gtest.h>

#include <cmath>

namespace kasto {
namespace {

constexpr VideoInputSettings kVideo{1920, 1080, 9'953'280, 120, 60};

// What a picture takes that takes so many kilobytes at qp 20; six steps halve it.
std::size_t bytesAt(int qp, double kilobytesAt20) {
    return static_cast<std::size_t>(kilobytesAt20 * 1000 * std::exp2((20 - qp) / 6.0));
}

TEST(RateControlTest, keepsTheAverageWhateverIsShown) {
    for (const double kilobytesAt20 : {0.5, 8.0, 40.0, 120.0}) {
        RateControl rate(kVideo);
        double bytes = 0;
        int qp = 0;
        for (int tick = 0; tick < 60 * 60; ++tick) {
            qp = rate.qp(tick % 120 == 0);
            const auto spent = bytesAt(qp, kilobytesAt20 * (tick % 120 == 0 ? 6 : 1));
            rate.spend(spent);
            bytes += static_cast<double>(spent);
        }
        EXPECT_LE(bytes * 8 / 60, 1.08 * kVideo.averageBitRate) << kilobytesAt20;
        EXPECT_GE(bytes * 8 / 60, kilobytesAt20 > 40 ? 0.95 * kVideo.averageBitRate : 0);
        EXPECT_LE(qp, 44);
    }
}

TEST(RateControlTest, refinesAStillAsFarAsItsSavingsAllow) {
    RateControl rate(kVideo);
    int qp = rate.qp(true);
    rate.spend(bytesAt(qp, 250));
    int encoded = 0;
    for (int tick = 0; tick < 120; ++tick) {
        const bool refines = rate.isWorthRefining(qp);
        if (refines) qp = rate.stillQp();
        encoded += refines;
        rate.spend(refines ? 20'000 : 13);
    }
    EXPECT_LE(qp, 6);
    EXPECT_LE(encoded, 5);
    EXPECT_TRUE(rate.allows(1'000'000));
    for (int tick = 0; tick < 30; ++tick) rate.spend(200'000);
    EXPECT_FALSE(rate.allows(1));
    EXPECT_GT(rate.qp(false), 30);
}

}  // namespace
}  // namespace kasto
