#include "shell/ControllerTest.h"

#include <QPushButton>

namespace kasto::test {
namespace {

class ScreenPermissionTest : public ControllerTest {
protected:
    ScreenPermissionTest() {
        desktop.screenAccess.granted = false;
        delegate = std::make_unique<AppDelegate>(desktop.record());
        QObject::connect(delegate.get(), &AppDelegate::readyToTerminate, [this] { ++terminations; });
        delegate->applicationDidFinishLaunching();
    }

    static void press(const char* text) {
        for (auto* button : alert()->buttons())
            if (button->text() == text) return button->click();
        FAIL() << "no button " << text;
    }
};

TEST_F(ScreenPermissionTest, AStartAsksAndExplains) {
    EXPECT_EQ(desktop.screenAccess.requests, 1);
    delegate->toggleRecording();
    EXPECT_EQ(desktop.screenAccess.requests, 2);
    ASSERT_TRUE(alert());
    EXPECT_EQ(alert()->text(), "kasto needs screen recording access");
    EXPECT_EQ(alert()->informativeText(),
              "System Settings → Privacy & Security → Screen & System Audio Recording → enable kasto. kasto "
              "relaunches itself once granted.");
    EXPECT_EQ(alert()->defaultButton()->text(), "open settings");
    press("later");
    EXPECT_EQ(alert(), nullptr);
    EXPECT_TRUE(desktop.workspace.openedLinks.empty());

    delegate->openUrls({"kasto:record"});
    press("open settings");
    EXPECT_EQ(desktop.workspace.openedLinks, std::vector<std::string>{"settings:screen-recording"});
    EXPECT_EQ(desktop.screenCapture.streamsMade, 0);
    EXPECT_EQ(terminations, 0);
}

TEST_F(ScreenPermissionTest, RelaunchesOnceWhenAccessIsGranted) {
    delegate->startRecording();  // a second reason to watch, still one watch
    desktop.screenAccess.granted = true;
    ASSERT_TRUE(loopUntil([&] { return terminations > 0; }));
    EXPECT_EQ(terminations, 1);
    EXPECT_EQ(desktop.workspace.relaunches, 1);
    EXPECT_EQ(log.count("kasto: screen access granted — relaunching"), 1);
}

class HotKeyTest : public ControllerTest {};

TEST_F(HotKeyTest, TogglesTakes) {
    EXPECT_EQ(desktop.hotKeys.chord,
              (KeyChord{.key = U'r', .control = true, .option = true, .command = true, .shift = false}));
    desktop.hotKeys.onPress();
    desktop.hotKeys.onPress();
    ASSERT_TRUE(loopUntil([&] { return delegate->isRecording(); })) << "the second press came too early";
    EXPECT_EQ(desktop.screenCapture.streamsMade, 1);
    desktop.hotKeys.onPress();
    ASSERT_TRUE(loopUntil([&] { return stopsLogged() == 1; }));
}

TEST_F(HotKeyTest, AChordThatIsTakenIsDoneWithout) {
    desktop.hotKeys.taken = true;
    delegate = std::make_unique<AppDelegate>(desktop.record());
    delegate->applicationDidFinishLaunching();
    record();
}

}  // namespace
}  // namespace kasto::test
