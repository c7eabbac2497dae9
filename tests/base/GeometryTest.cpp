#include "base/Geometry.h"
#include "base/MediaClock.h"

#include <gtest/gtest.h>

namespace kasto {
namespace {

TEST(RectTest, ContainsItsLeftAndTopEdgesOnly) {
    const Rect r{10, 20, 30, 40};
    EXPECT_TRUE(r.contains({10, 20}));
    EXPECT_TRUE(r.contains({39.999, 59.999}));
    EXPECT_FALSE(r.contains({40, 30}));
    EXPECT_FALSE(r.contains({20, 60}));
    EXPECT_FALSE(r.contains({9.999, 30}));
    EXPECT_FALSE(Rect{}.contains({0, 0}));
}

TEST(RectTest, IntegralRoundsOutward) {
    struct Row {
        Rect given, expected;
    };
    const Row rows[] = {
        {{0.2, 0.8, 10, 10}, {0, 0, 11, 11}},
        {{-0.5, -1.5, 1, 1}, {-1, -2, 2, 2}},
        {{3, 4, 5, 6}, {3, 4, 5, 6}},
    };
    for (const auto& row : rows) EXPECT_EQ(row.given.integral(), row.expected);
}

TEST(RectTest, IntersectionAndUnion) {
    const Rect a{0, 0, 100, 50};
    EXPECT_EQ(a.intersection({90, -10, 40, 20}), (Rect{90, 0, 10, 10}));
    EXPECT_TRUE(a.intersection({100, 0, 10, 10}).isEmpty()) << "touching edges have no common area";
    EXPECT_EQ(a.intersection({200, 200, 1, 1}), Rect{});
    EXPECT_EQ(a.united({110, 60, 10, 10}), (Rect{0, 0, 120, 70}));
    EXPECT_EQ(a.united(Rect{}), a);
    EXPECT_EQ((PixelRect{0, 0, 8, 8}.intersection({4, 6, 10, 10})), (PixelRect{4, 6, 4, 2}));
    EXPECT_TRUE((PixelRect{0, 0, 8, 8}.intersection({8, 0, 4, 4})).isEmpty());
}

TEST(MediaTimeTest, RoundsToTheNearestUnit) {
    EXPECT_EQ(MediaTime::fromSeconds(1.0 / 60, 600).value, 10);
    EXPECT_EQ(MediaTime::fromSeconds(0.05125, 600).value, 31);
    EXPECT_DOUBLE_EQ((MediaTime{31, 600}).seconds(), 31.0 / 600);
}

}  // namespace
}  // namespace kasto
