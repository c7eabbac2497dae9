#include "shell/ControllerTest.h"

#include <QPushButton>

namespace kasto::test {
namespace {

class ScreenPermissionTest : public ControllerTest {
protected:
    static void press(const char* text) {
        for (auto* button : alert()->buttons())
            if (button->text() == text) return button->click();
        FAIL() << "no button " << text;
    }
};

TEST_F(ScreenPermissionTest, AsksExplainsAndRelaunchesOnceWhenGranted) {
    EXPECT_EQ(log.count("kasto: launched ?, screenAccess=true ax=false"), 1);
    desktop.screenAccess.granted = false;
    launch();
    EXPECT_EQ(log.count("kasto: launched ?, screenAccess=false ax=false"), 1);
    EXPECT_EQ(desktop.screenAccess.requests, 1);

    delegate->toggleRecording();
    EXPECT_EQ(desktop.screenAccess.requests, 2);
    ASSERT_TRUE(alert());
    EXPECT_EQ(alert()->text(), "kasto needs screen recording access");
    press("later");
    EXPECT_EQ(alert(), nullptr);
    EXPECT_TRUE(desktop.workspace.openedLinks.empty());

    delegate->openUrls({"kasto:record"});
    ASSERT_TRUE(alert());
    press("open settings");
    EXPECT_EQ(desktop.workspace.openedLinks, std::vector<std::string>{"settings:screen-recording"});
    EXPECT_EQ(desktop.screenCapture.streamsMade + terminations, 0);

    desktop.screenAccess.granted = true;
    ASSERT_TRUE(loopUntil([&] { return terminations > 0; }));
    EXPECT_EQ(terminations, 1);
    EXPECT_EQ(desktop.workspace.relaunches, 1);
    EXPECT_EQ(log.count("kasto: screen access granted — relaunching"), 1);
}

}  // namespace
}  // namespace kasto::test
