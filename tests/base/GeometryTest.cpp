#include "base/Geometry.h"
#include "base/MediaClock.h"

#include <gtest/gtest.h>

namespace kasto {
namespace {

TEST(GeometryTest, EdgesAndRounding) {
    const Rect a{0, 0, 100, 50};
    EXPECT_EQ(a.intersection({90, -10, 40, 20}), (Rect{90, 0, 10, 10}));
    EXPECT_EQ(a.intersection({200, 200, 1, 1}), Rect{});
    EXPECT_EQ(a.united({110, 60, 10, 10}), (Rect{0, 0, 120, 70}));
    EXPECT_EQ(a.united(Rect{}), a);
    EXPECT_EQ((Rect{-0.5, 0.8, 1, 10}).integral(), (Rect{-1, 0, 2, 11}));
    EXPECT_EQ(MediaTime::fromSeconds(0.05125, 600), (MediaTime{31, 600}));
}

}  // namespace
}  // namespace kasto
