#include "platform/OwnWindows.h"

#include <gtest/gtest.h>

namespace kasto {
namespace {

TEST(OwnWindowsTest, GenerationMovesOnlyWhenSomethingChanged) {
    OwnWindows windows;
    const auto before = windows.generation();
    windows.remove(7);
    EXPECT_EQ(windows.generation(), before);
    windows.set({.nativeId = 7, .sharing = SharingType::none, .paintedPx = {}});
    windows.set({.nativeId = 7, .sharing = SharingType::readOnly, .paintedPx = {}});
    ASSERT_EQ(windows.windows().size(), 1u);
    EXPECT_EQ(windows.windows()[0].sharing, SharingType::readOnly);
    EXPECT_EQ(windows.generation(), before + 2);
    windows.remove(7);
    EXPECT_TRUE(windows.windows().empty());
    EXPECT_EQ(windows.generation(), before + 3);
}

}  // namespace
}  // namespace kasto
