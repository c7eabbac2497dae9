#include "base/Guarded.h"
#include "base/MediaClock.h"
#include "camera/WebcamTile.h"
#include "control/TakeController.h"
#include "options/Prefs.h"
#include "support/FakeDesktop.h"
#include "support/LogLines.h"
#include "support/WaitUntil.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <semaphore>

namespace kasto::test {
namespace {

// A controller on a desktop of fakes, whose main thread runs only when the test lets it: news from the
// recorder wait until then.
class TakeControllerTest : public testing::Test, public TakeObserver {
protected:
    using Jobs = std::deque<TakeController::Job>;

    bool runNextJob() {
        Jobs next;
        waiting->with([&](Jobs& jobs) {
            if (jobs.empty()) return;
            next.push_back(std::move(jobs.front()));
            jobs.pop_front();
        });
        if (!next.empty()) next.front()();
        return !next.empty();
    }
    // Runs the main thread until nothing is under way.
    void settle() {
        ASSERT_TRUE(waitUntil([&] {
            while (runNextJob()) {
            }
            return take->phase() != Phase::starting && take->phase() != Phase::finishing;
        }));
    }

    void make() {
        calls.clear();
        desktop.screenCapture.startError.reset();
        take.reset();
        waiting->set({});
        take = std::make_unique<TakeController>(
            model, tile, desktop.record(),
            [jobs = waiting](TakeController::Job job) {
                jobs->with([&](Jobs& all) { all.push_back(std::move(job)); });
            },
            *this);
    }

    // A new controller in this phase, with nothing written to `calls`.
    void reach(const std::string& phase) {
        make();
        if (phase == "failing") desktop.screenCapture.startError = Error{"no screen"};
        if (phase != "idle") take->start();
        if (phase == "recording" || phase == "finishing") record();
        if (phase == "finishing") take->stop();
        calls.clear();
    }
    void record() {
        settle();
        const auto picture = PixelBuffer::make(PixelFormat::bgrx, 640, 360);
        desktop.screenCapture.feed(ScreenFrame{picture, 1, {}, mediaClockNow()});
        ASSERT_TRUE(waitUntil([&] { return desktop.movieWriters.newest().frameCount() > 0; }));
    }

    void fire(const std::string& trigger) {
        if (trigger == "start") take->start();
        if (trigger == "toggle") take->toggle();
        if (trigger == "stop") take->stop();
        if (trigger == "stopUnseen") take->stopUnseen();
        if (trigger == "quit") take->quit();
        if (trigger == "finishNow") take->finishNow();
        if (trigger == "dies") die();
    }
    // The news of it overtakes the news of a start.
    void die() {
        if (take->phase() == Phase::starting) {
            ASSERT_TRUE(waitUntil([&] { return waiting->with([](Jobs& jobs) { return !jobs.empty(); }); }));
        }
        desktop.screenCapture.die({"unplugged"});
        waiting->with([](Jobs& jobs) { std::rotate(jobs.begin(), jobs.end() - 1, jobs.end()); });
        runNextJob();
    }

    bool mayStartTake() override { return true; }
    void takeBegan() override { calls += "began "; }
    void takeFailed(const Error& error) override { calls += "failed(" + error.description + ") "; }
    void takeEnding() override { calls += "ending "; }
    void takeEnded(const EndedTake& ended) override {
        calls += ended.file ? ended.reveal ? "shown " : "unseen " : "lost ";
        if (ended.reason) calls += "for(" + ended.reason->description + ") ";
    }
    void quickMenuWanted() override {}
    void mayTerminate() override { calls += "end "; }

    FakeDesktop desktop;
    LogLines log;
    CaptureModel model;
    WebcamTile tile{model, desktop.cameraSession};
    std::string calls;
    const std::shared_ptr<Guarded<Jobs>> waiting = std::make_shared<Guarded<Jobs>>();
    std::unique_ptr<TakeController> take;
};

TEST_F(TakeControllerTest, everyTriggerInEveryPhase) {
    struct Row {
        std::string phase, trigger;
        Phase then;         // right after the trigger
        Phase finally;      // when nothing is under way any more
        std::string calls;  // of the observer, until then
    };
    using enum Phase;
    const Row rows[] = {
        {"idle", "start", starting, recording, "began "},
        {"idle", "toggle", starting, recording, "began "},
        {"idle", "stop", idle, idle, ""},
        {"idle", "stopUnseen", idle, idle, ""},
        {"idle", "quit", ended, ended, "end "},
        {"idle", "finishNow", ended, ended, ""},
        {"starting", "start", starting, recording, "began "},
        {"starting", "toggle", starting, recording, "began "},
        {"starting", "stop", starting, recording, "began "},
        {"starting", "stopUnseen", starting, recording, "began "},
        {"starting", "dies", starting, idle, "began ending lost for(unplugged) "},
        {"starting", "quit", starting, ended, "began ending lost end "},
        {"starting", "finishNow", ended, ended, ""},
        {"failing", "start", starting, idle, "failed(no screen) "},
        {"failing", "quit", starting, ended, "end "},
        {"failing", "finishNow", ended, ended, ""},
        {"recording", "start", recording, recording, ""},
        {"recording", "toggle", finishing, idle, "ending shown "},
        {"recording", "stop", finishing, idle, "ending shown "},
        {"recording", "stopUnseen", finishing, idle, "ending unseen "},
        {"recording", "quit", finishing, ended, "ending unseen end "},
        {"recording", "finishNow", ended, ended, ""},
        {"recording", "dies", finishing, idle, "ending shown for(unplugged) "},
        {"finishing", "start", finishing, idle, "shown "},
        {"finishing", "toggle", finishing, idle, "shown "},
        {"finishing", "stop", finishing, idle, "shown "},
        {"finishing", "stopUnseen", finishing, idle, "shown "},
        {"finishing", "quit", finishing, ended, "shown end "},
        {"finishing", "finishNow", ended, ended, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.trigger + " while " + row.phase);
        reach(row.phase);
        fire(row.trigger);
        EXPECT_EQ(take->phase(), row.then);
        settle();
        EXPECT_EQ(take->phase(), row.finally);
        EXPECT_EQ(calls, row.calls);
        EXPECT_EQ(desktop.screenCapture.isCapturing(), row.finally == recording);
        if (row.finally != ended) continue;
        for (const auto* trigger : {"start", "toggle", "quit", "finishNow"}) fire(trigger);
        EXPECT_EQ(take->phase(), ended);
        EXPECT_EQ(calls, row.calls) << "after the end";
    }
}

TEST_F(TakeControllerTest, aQuitIsNotForgottenForATakeThatDies) {
    for (const auto* first : {"quit", "dies"}) {
        reach("starting");
        fire(first);
        fire(*first == 'q' ? "dies" : "quit");
        settle();
        EXPECT_EQ(calls, "began ending lost for(unplugged) end ") << first;
    }
}

TEST_F(TakeControllerTest, aFolderThatHangsNeedNotBeWaitedFor) {
    std::binary_semaphore began(0), goesOn(0);
    Prefs::setOn(OptionId::convertMP4, true);
    desktop.movieExports.onExport = [&] {
        began.release();
        goesOn.acquire();
    };
    reach("recording");
    fire("quit");
    ASSERT_TRUE(began.try_acquire_for(std::chrono::seconds(20)));
    EXPECT_FALSE(take->skipFiling()) << "the movie is complete and lies there";
    goesOn.release();
    settle();

    reach("recording");
    EXPECT_TRUE(take->skipFiling());
    fire("quit");
    settle();
    EXPECT_EQ(calls, "ending unseen end ") << "and nothing was exported";
    Prefs::forget(OptionId::convertMP4);
}

TEST_F(TakeControllerTest, itsEndCompletesTheMovie) {
    for (const auto* phase : {"starting", "recording", "finishing"}) {
        reach(phase);
        if (*phase == 's') waitUntil([&] { return desktop.screenCapture.isCapturing(); });
        take.reset();
        EXPECT_FALSE(desktop.screenCapture.isCapturing());
        if (*phase != 's') {
            EXPECT_EQ(desktop.movieWriters.newest().status, WriterStatus::completed);
        }
        EXPECT_EQ(calls, "");
    }
}

}  // namespace
}  // namespace kasto::test
