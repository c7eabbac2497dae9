#include "platform/OwnWindows.h"

#include <gtest/gtest.h>

namespace kasto {
namespace {

TEST(OwnWindowsTest, ToldWhatChangedBetweenTwoLooks) {
    OwnWindows windows;
    const auto painting = [](int x) {
        return OwnWindow{7, SharingType::none, std::vector<PixelRect>{{x, 0, 1, 1}}};
    };
    windows.set(painting(1));
    const auto looked = windows.generation();
    windows.set(painting(2));
    windows.set(painting(3));
    windows.remove(7);
    windows.remove(7);
    EXPECT_TRUE(windows.windows().empty());
    EXPECT_EQ(windows.generation(), looked + 3) << "moves only when something changed";
    const auto replaced = windows.replacedSince(looked);
    ASSERT_EQ(replaced.size(), 3u);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(replaced[static_cast<std::size_t>(i)].paintedPx->front().x, i + 1);
    EXPECT_TRUE(windows.replacedSince(windows.generation()).empty());
    for (int i = 0; i < 1000; ++i) windows.set(painting(i));
    EXPECT_LT(windows.replacedSince(0).size(), 100u);
    EXPECT_EQ(windows.replacedSince(0).back().paintedPx->front().x, 998);
}

}  // namespace
}  // namespace kasto
