// The status item and the menus of the program as a user has them: a tray, the mouse, the keyboard.

#include "desktop/DesktopSession.h"
#include "support/WaitUntil.h"

#include <gtest/gtest.h>

namespace kasto::test {
namespace {

class StatusItemTest : public testing::Test {
protected:
    // Whether so many windows of the program are to be seen that are as wide as a menu, or no wider than an
    // icon.
    bool shows(int menus, int icons) const {
        const std::string script =
            "menus=0; icons=0; for window in $(xdotool search --onlyvisible --class '^kasto$'); do "
            "eval \"$(xdotool getwindowgeometry --shell $window)\"; "
            "if [ $WIDTH -gt 200 ]; then menus=$((menus + 1)); else icons=$((icons + 1)); fi; done; "
            "[ \"$menus $icons\" = '" +
            std::to_string(menus) + ' ' + std::to_string(icons) + "' ]";
        return waitUntil([&] { return desktop.run({"sh", "-c", script}) == 0; });
    }

    // At the first or the second of the icons.
    void pointAtItem(int number = 1) const {
        ASSERT_EQ(
            desktop.run({"sh", "-c",
                         "xdotool mousemove --window $(xdotool search --onlyvisible --class '^kasto$' | "
                         "sed -n " +
                             std::to_string(number) + "p) 8 8"}),
            0);
    }

    int type(const std::vector<std::string>& command) const { return desktop.xdotool(command); }

    void openQuickMenu() const {
        EXPECT_EQ(type({"mousemove", "300", "200", "keydown", "ISO_Level3_Shift", "mousedown", "3"}), 0);
        EXPECT_TRUE(shows(1, 2));  // while the button is down
        EXPECT_EQ(type({"mouseup", "3", "keyup", "ISO_Level3_Shift"}), 0);
        EXPECT_TRUE(shows(1, 2));  // and when it is released
    }

    DesktopSession desktop;
};

TEST_F(StatusItemTest, mouseAndHotKeyReachTheProgramWhileItsMenusAreOpen) {
    const auto scene = desktop.showScene();
    // Without the overlay, which has windows of its own.
    desktop.setOptions(R"({"showMarquee": false})");
    const auto kasto = desktop.startKasto();
    const auto tray = desktop.start({"tint2"});  // later than the program
    ASSERT_TRUE(shows(0, 1));
    pointAtItem();
    EXPECT_EQ(type({"click", "1"}), 0);
    ASSERT_TRUE(shows(1, 1));
    EXPECT_EQ(type({"key", "ctrl+alt+super+r"}), 0);
    ASSERT_TRUE(desktop.waitForLog(" recording "));
    ASSERT_TRUE(shows(0, 2));

    openQuickMenu();
    EXPECT_EQ(type({"mousemove", "900", "600", "click", "1"}), 0);
    EXPECT_TRUE(shows(0, 2));
    openQuickMenu();
    EXPECT_EQ(type({"key", "Down", "key", "Return"}), 0);
    EXPECT_TRUE(desktop.waitForLog(" stopped "));
    EXPECT_TRUE(shows(0, 1));

    // Started from the menu, stopped by the item itself and by the stop button.
    for (const int icon : {1, 2}) {
        const auto takes = static_cast<std::size_t>(icon) + 1;
        pointAtItem();
        EXPECT_EQ(type({"click", "1"}), 0);
        ASSERT_TRUE(shows(1, 1));
        EXPECT_EQ(type({"key", "Down", "key", "Down", "key", "Return"}), 0);
        ASSERT_TRUE(desktop.waitForLog(" recording ", takes));
        ASSERT_TRUE(shows(0, 2));
        pointAtItem(icon);
        EXPECT_EQ(type({"click", "1"}), 0);
        EXPECT_TRUE(desktop.waitForLog(" stopped ", takes));
        EXPECT_TRUE(shows(0, 1));
    }
}

}  // namespace
}  // namespace kasto::test
