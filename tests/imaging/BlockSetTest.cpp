#include "imaging/BlockSet.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace kasto {
namespace {

using Runs = std::vector<std::pair<int, int>>;

Runs runsOf(const BlockSet& blocks, int row) {
    Runs runs;
    blocks.forEachRun(row, [&](int begin, int end) { runs.emplace_back(begin, end); });
    return runs;
}

// 130 blocks across, the last of them 8 pixels wide: more than two words.
constexpr int kWidth = 129 * 16 + 8;
constexpr int kHeight = 40;

TEST(BlockSetTest, HoldsTheBlocksARectangleTouches) {
    struct Row {
        PixelRect added;
        Runs runs;  // of the blocks' second row
    };
    for (const auto& [added, runs] : {Row{{0, 16, 1, 1}, {{0, 1}}},
                                      {{15, 0, 2, 17}, {{0, 2}}},
                                      {{63 * 16, 31, 32, 9}, {{63, 65}}},
                                      {{-50, -50, 9999, 9999}, {{0, 130}}},
                                      {{kWidth - 1, 20, 50, 1}, {{129, 130}}},
                                      {{0, 32, kWidth, 8}, {}},
                                      {{40, 20, 0, 5}, {}},
                                      {{-9, 20, 9, 5}, {}}}) {
        BlockSet blocks(kWidth, kHeight);
        blocks.add(added);
        EXPECT_EQ(runsOf(blocks, 1), runs) << added.x << ", " << added.y;
    }
}

TEST(BlockSetTest, RunsAreCountedAndJoined) {
    BlockSet blocks(kWidth, kHeight);
    EXPECT_TRUE(blocks.isEmpty());
    BlockSet more = blocks;
    for (const int column : {0, 2, 62, 63, 127, 129}) more.add({column * 16 + 3, 33, 1, 1});
    blocks.add({16, 32, 1, 1});
    blocks.add(more);
    EXPECT_EQ(runsOf(blocks, 2), (Runs{{0, 3}, {62, 64}, {127, 128}, {129, 130}}));
    EXPECT_EQ(runsOf(blocks, 0), Runs{});
    EXPECT_EQ(blocks.count(), 7);
    EXPECT_TRUE(blocks.contains(63, 2) && !blocks.contains(64, 2) && !blocks.contains(63, 1));
    blocks.fill();
    EXPECT_EQ(blocks, BlockSet::all(kWidth, kHeight));
    EXPECT_EQ(blocks.count(), 130 * 3);
    blocks.clear();
    EXPECT_EQ(blocks, BlockSet(kWidth, kHeight));
}

}  // namespace
}  // namespace kasto
