#include "shell/ControllerTest.h"

#include <QPushButton>
#include <thread>

namespace kasto::test {
namespace {

class AppDelegateTest : public ControllerTest {};

TEST_F(AppDelegateTest, startsOneTakeForSeveralRequestsAndFinishesItOnce) {
    desktop.hotKeys.onPress();
    desktop.hotKeys.onPress();
    delegate->toggleRecording();
    EXPECT_FALSE(delegate->isRecording());
    ASSERT_TRUE(loopUntil([&] { return delegate->isRecording(); }));
    EXPECT_EQ(desktop.screenCapture.streamsMade, 1);

    delegate->finishStop(true);
    delegate->finishStop(true);
    delegate->toggleRecording();
    EXPECT_FALSE(delegate->isRecording());
    ASSERT_TRUE(loopUntil([&] { return isIdle(); }));
    EXPECT_EQ(stopsLogged(), 1);
    EXPECT_EQ(desktop.screenCapture.streamsMade, 1);
}

TEST_F(AppDelegateTest, runsTheChosenCameraWhileATakeWithATileRuns) {
    auto& session = desktop.cameraSession;
    session.cameras = {{"front", "Front"}, {"back", "Back"}};
    EXPECT_EQ(delegate->cameras(), session.cameras);
    const auto runs = [&](const std::string& id) {
        return loopUntil([&] { return session.running() == id; });
    };

    Prefs::setCameraID("back");
    record();
    EXPECT_TRUE(runs("back"));
    Prefs::setCameraID(std::nullopt);
    EXPECT_TRUE(runs("front"));
    Prefs::setOn(OptionId::pipEnabled, false);
    EXPECT_TRUE(runs(""));
    Prefs::setOn(OptionId::pipEnabled, true);
    EXPECT_TRUE(runs("front"));
    delegate->toggleRecording();
    EXPECT_TRUE(runs(""));
}

TEST_F(AppDelegateTest, showsWhyATakeCouldNotStartAndStaysUsable) {
    desktop.screenCapture.startError = Error{"the screen is <b>gone</b>"};
    delegate->startRecording();
    ASSERT_TRUE(loopUntil([] { return alert() != nullptr; }));
    EXPECT_EQ(alert()->text(), "recording failed");
    EXPECT_EQ(alert()->informativeText(), "the screen is <b>gone</b>");
    EXPECT_EQ(log.count("kasto: start failed: the screen is <b>gone</b>"), 1);
    ASSERT_EQ(desktop.ownWindows.windows().size(), 1u);
    EXPECT_EQ(desktop.ownWindows.windows()[0].nativeId, alert()->winId());
    EXPECT_EQ(desktop.ownWindows.windows()[0].sharing, SharingType::none);

    desktop.screenCapture.startError.reset();
    const auto shown = alert()->winId();
    record();
    EXPECT_EQ(alert(), nullptr);
    EXPECT_EQ(std::ranges::count(desktop.ownWindows.windows(), shown, &OwnWindow::nativeId), 0);
}

TEST_F(AppDelegateTest, survivesAStreamThatEndsByItself) {
    record();
    std::thread([&] { desktop.screenCapture.die({"unplugged"}); }).join();
    ASSERT_TRUE(loopUntil([&] { return stopsLogged() == 1; }));
    EXPECT_FALSE(delegate->isRecording());

    record();
    desktop.screenCapture.die({"unplugged"});
    delegate.reset();  // before the news arrives
    QCoreApplication::processEvents();
    EXPECT_FALSE(desktop.screenCapture.isCapturing());
}

TEST_F(AppDelegateTest, quitsOnlyAfterTheTakeIsFinished) {
    desktop.hotKeys.taken = true;  // and does without
    launch();
    record();
    delegate->terminate();
    EXPECT_EQ(desktop.runningInstance.released, 1) << "a start from now on finds none that drops its wish";
    EXPECT_EQ(terminations, 0);
    ASSERT_TRUE(loopUntil([&] { return terminations > 0; }));
    EXPECT_EQ(stopsLogged(), 1);
    EXPECT_FALSE(desktop.screenCapture.isCapturing());
    delegate->startRecording();
    QCoreApplication::processEvents();
    EXPECT_FALSE(delegate->isRecording());
    EXPECT_EQ(terminations, 1);
}

TEST_F(AppDelegateTest, anAlertLeavesTheRegionPickerUsable) {
    desktop.screenCapture.startError = Error{"no"};
    const auto fail = [&] {
        delegate->startRecording();
        return loopUntil([] { return alert() != nullptr; });
    };
    ASSERT_TRUE(fail());
    delegate->beginSetRegion();
    EXPECT_EQ(alert(), nullptr);
    ASSERT_TRUE(fail());
    EXPECT_FALSE(alert()->isModal());
}

TEST_F(AppDelegateTest, aStartWithoutAWishShowsSomething) {
    desktop.statusItems.hosted = false;
    delegate->activate();
    ASSERT_TRUE(loopUntil([&] { return desktop.ownWindows.windows().size() == 1; })) << "the settings";
}

TEST_F(AppDelegateTest, runsTheCommandsOfUrlsInOrder) {
    const std::pair<std::string, std::string> words[] = {
        {"kasto:///pause//", "pause"},    {"kasto://pause/now", "pause"},
        {"other:pause?a=b#c", "pause"},   {"kasto:", ""},
        {"kasto://Settings", "settings"}, {"kasto:a%0Ab", "a%0ab"}};
    for (const auto& [url, word] : words) {
        log.clear();
        delegate->openUrls({url});
        EXPECT_EQ(log.all(), std::vector<std::string>{"kasto: url command: " + word}) << url;
    }
    EXPECT_EQ(desktop.ownWindows.windows().size(), 1U) << "the settings";
    delegate->openUrls({"kasto:/Settings"});
    EXPECT_TRUE(desktop.ownWindows.windows().empty());
    delegate->openUrls({"kasto:stop", "kasto:/toggle/", "kasto:record"});
    ASSERT_TRUE(loopUntil([&] { return delegate->isRecording(); }));
    delegate->openUrls({"kasto:stop", "kasto:record"});
    ASSERT_TRUE(loopUntil([&] { return stopsLogged() == 1; }));
    EXPECT_EQ(desktop.screenCapture.streamsMade, 1);
}

TEST_F(AppDelegateTest, asksExplainsAndRelaunchesOnceWhenGranted) {
    desktop.screenAccess.granted = false;
    launch();
    EXPECT_EQ(log.count("kasto: launched ?, screenAccess=false ax=false"), 1);
    EXPECT_EQ(desktop.screenAccess.requests, 1);
    for (const auto* choice : {"later", "open settings"}) {
        delegate->openUrls({"kasto:record"});
        ASSERT_TRUE(alert());
        EXPECT_EQ(alert()->text(), "kasto needs screen recording access");
        EXPECT_TRUE(desktop.workspace.openedLinks.empty());
        for (auto* button : alert()->buttons())
            if (button->text() == choice) button->click();
        EXPECT_EQ(alert(), nullptr);
    }
    EXPECT_EQ(desktop.screenAccess.requests, 3);
    EXPECT_EQ(desktop.workspace.openedLinks, std::vector<std::string>{"settings:screen-recording"});
    EXPECT_EQ(desktop.screenCapture.streamsMade + terminations, 0);

    desktop.screenAccess.granted = true;
    ASSERT_TRUE(loopUntil([&] { return terminations > 0; }));
    EXPECT_EQ(desktop.workspace.relaunches, 1);
    EXPECT_EQ(log.count("kasto: screen access granted — relaunching"), 1);
}

}  // namespace
}  // namespace kasto::test
