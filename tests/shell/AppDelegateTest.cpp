#include "shell/ControllerTest.h"

#include <gtest/gtest.h>

#include <thread>

namespace kasto::test {
namespace {

class AppDelegateTest : public ControllerTest {};

TEST_F(AppDelegateTest, tellsTheVersionAndItsRightsAtLaunch) {
    EXPECT_EQ(log.count("kasto: launched ?, screenAccess=true ax=false"), 1);
    QCoreApplication::setApplicationVersion("1.2");
    desktop.screenAccess.granted = false;
    AppDelegate another(desktop.record());
    another.applicationDidFinishLaunching();
    EXPECT_EQ(log.count("kasto: launched 1.2, screenAccess=false ax=false"), 1);
    EXPECT_EQ(desktop.screenAccess.requests, 1);
}

TEST_F(AppDelegateTest, startsOneTakeForSeveralRequestsAndFinishesItOnce) {
    delegate->startRecording();
    delegate->toggleRecording();
    delegate->startRecording();
    EXPECT_FALSE(delegate->isRecording());
    ASSERT_TRUE(loopUntil([&] { return delegate->isRecording(); }));
    EXPECT_EQ(desktop.screenCapture.streamsMade, 1);

    int finished = 0;
    delegate->finishStop(true, [&] { ++finished; });
    delegate->finishStop(true, [&] { ++finished; });
    delegate->toggleRecording();
    delegate->stopFromCommand();
    EXPECT_FALSE(delegate->isRecording());
    ASSERT_TRUE(loopUntil([&] { return finished > 0; }));
    EXPECT_EQ(finished, 1);
    EXPECT_EQ(stopsLogged(), 1);
    EXPECT_EQ(desktop.screenCapture.streamsMade, 1);

    record();
    EXPECT_EQ(desktop.screenCapture.streamsMade, 2);
}

TEST_F(AppDelegateTest, doesNotStartWithoutTheRightToRecord) {
    desktop.screenAccess.granted = false;
    delegate->startRecording();
    EXPECT_EQ(desktop.screenAccess.requests, 1);
    desktop.screenAccess.granted = true;
    record();
    EXPECT_EQ(desktop.screenCapture.streamsMade, 1);
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
    record();
    alert()->accept();
    EXPECT_TRUE(desktop.ownWindows.windows().empty());
}

TEST_F(AppDelegateTest, finishesTheTakeWhoseStreamEndedByItself) {
    record();
    std::thread stream([&] { desktop.screenCapture.die({"unplugged"}); });
    stream.join();
    ASSERT_TRUE(loopUntil([&] { return stopsLogged() == 1; }));
    EXPECT_FALSE(delegate->isRecording());
    ASSERT_TRUE(loopUntil([&] {
        delegate->startRecording();
        return delegate->isRecording();
    }));
}

TEST_F(AppDelegateTest, survivesAStreamThatEndsWhileTheTakeStarts) {
    desktop.screenCapture.diesAtStart = Error{"unplugged"};
    delegate->startRecording();
    ASSERT_TRUE(loopUntil([&] { return stopsLogged() == 1 || alert(); }));
    EXPECT_FALSE(delegate->isRecording());
    desktop.screenCapture.diesAtStart.reset();
    ASSERT_TRUE(loopUntil([&] {
        delegate->startRecording();
        return delegate->isRecording();
    }));
}

TEST_F(AppDelegateTest, dropsWhatComesAfterItsEnd) {
    record();
    desktop.screenCapture.die({"unplugged"});
    delegate.reset();
    QCoreApplication::processEvents();
    EXPECT_EQ(stopsLogged(), 1);
    EXPECT_FALSE(desktop.screenCapture.isCapturing());
}

TEST_F(AppDelegateTest, quitsAtOnceWhenIdle) {
    delegate->terminate();
    EXPECT_EQ(terminations, 1);
}

TEST_F(AppDelegateTest, quitsOnlyAfterTheTakeIsFinished) {
    enum class Phase { starting, recording, finishing, failing };
    for (const auto phase : {Phase::starting, Phase::recording, Phase::finishing, Phase::failing}) {
        log.clear();
        terminations = 0;
        delegate = std::make_unique<AppDelegate>(desktop.record());
        QObject::connect(delegate.get(), &AppDelegate::readyToTerminate, [this] { ++terminations; });
        if (phase == Phase::failing) desktop.screenCapture.startError = Error{"no"};
        if (phase == Phase::starting || phase == Phase::failing) {
            delegate->startRecording();
        } else {
            record();
            if (phase == Phase::finishing) delegate->stopFromCommand();
        }
        delegate->terminate();
        EXPECT_EQ(terminations, 0) << static_cast<int>(phase);
        ASSERT_TRUE(loopUntil([&] { return terminations > 0; })) << static_cast<int>(phase);
        EXPECT_EQ(terminations, 1);
        EXPECT_EQ(stopsLogged(), phase == Phase::failing ? 0 : 1);
        EXPECT_FALSE(desktop.screenCapture.isCapturing());
        EXPECT_EQ(alert(), nullptr);
        delegate->startRecording();
        QCoreApplication::processEvents();
        EXPECT_FALSE(delegate->isRecording());
    }
}

TEST_F(AppDelegateTest, readsTheWordOfAUrl) {
    const std::vector<std::pair<std::string, std::string>> cases{
        {"kasto://PAUSE", "pause"},
        {"kasto:Pause", "pause"},
        {"kasto:/pause/", "pause"},
        {"kasto:///pause//", "pause"},
        {"kasto://pause/now", "pause"},
        {"other:pause?a=b#c", "pause"},
        {"kasto:", ""},
        {"", ""},
        {"kasto://settings", "settings"},
        {"kasto:a%0Ab", "a%0ab"},
    };
    for (const auto& [url, word] : cases) {
        log.clear();
        delegate->openUrls({url});
        EXPECT_EQ(log.all(), std::vector<std::string>{"kasto: url command: " + word}) << url;
    }
    EXPECT_EQ(desktop.screenCapture.streamsMade, 0);
}

TEST_F(AppDelegateTest, runsTheCommandsOfUrlsInOrder) {
    for (const std::string start : {"kasto:record", "kasto://START", "kasto:/toggle/"}) {
        delegate = std::make_unique<AppDelegate>(desktop.record());
        desktop.screenCapture.streamsMade = 0;
        delegate->openUrls({"kasto:stop", start, "kasto:record"});
        ASSERT_TRUE(loopUntil([&] { return delegate->isRecording(); })) << start;

        log.clear();
        delegate->openUrls({start.ends_with("toggle/") ? "kasto:toggle" : "kasto:stop", "kasto:record"});
        EXPECT_FALSE(delegate->isRecording());
        ASSERT_TRUE(loopUntil([&] { return stopsLogged() == 1; }));
        EXPECT_EQ(desktop.screenCapture.streamsMade, 1) << start;
    }
}

}  // namespace
}  // namespace kasto::test
