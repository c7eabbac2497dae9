#include "imaging/BlockSet.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace kasto {
namespace {

// 130 blocks across, the last of them 8 pixels wide: more than two words.
constexpr int kWidth = 129 * 16 + 8;
constexpr int kHeight = 40;

TEST(BlockSetTest, HoldsTheBlocksThatRectanglesTouch) {
    std::minstd_rand random(5);
    const auto upTo = [&](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
    for (int round = 0; round < 500; ++round) {
        BlockSet blocks(kWidth, kHeight), more = blocks;
        std::vector<PixelRect> rects;
        for (int i = upTo(6); i >= 0; --i) {
            rects.push_back(
                {upTo(2200) - 60, upTo(70) - 15, upTo(upTo(2) ? 40 : 2000), upTo(upTo(2) ? 3 : 20)});
            (upTo(2) ? blocks : more).add(rects.back());
        }
        blocks.add(more);
        int count = 0;
        for (int row = 0; row < 3; ++row) {
            std::vector<bool> expected, told(130);
            for (int column = 0; column < 130; ++column) {
                expected.push_back(std::ranges::any_of(rects, [&](const PixelRect& rect) {
                    return !rect.intersection({column * 16, row * 16, 16, 16}).isEmpty();
                }));
                count += expected.back() ? 1 : 0;
                EXPECT_EQ(blocks.contains(column, row), expected.back());
            }
            blocks.forEachRun(row, [&](int begin, int end) {
                EXPECT_FALSE(begin > 0 && told.at(static_cast<std::size_t>(begin) - 1)) << "one run";
                std::fill(told.begin() + begin, told.begin() + end, true);
            });
            EXPECT_EQ(told, expected);
        }
        EXPECT_EQ(blocks.count(), count);
        EXPECT_EQ(blocks.isEmpty(), count == 0);
        blocks.fill();
        EXPECT_EQ(blocks.count(), 130 * 3);
        blocks.clear();
        EXPECT_EQ(blocks, BlockSet(kWidth, kHeight));
    }
}

}  // namespace
}  // namespace kasto
