#include "base/Prefs.h"
#include "camera/CameraSource.h"
#include "model/CaptureModel.h"
#include "recording/Recorder.h"
#include "support/TakeFixture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <thread>

namespace kasto {
namespace {

using test::picture;
using test::sound;
using test::TakeFixture;
using test::waitUntil;
using test::WrittenFrame;

class RecorderTest : public TakeFixture {};

TEST_F(RecorderTest, RunsATakeAndTellsItsSteps) {
    desktop.screenCapture.content.applications = {
        {"app.tolvane.kasto"}, {"app.other"}, {"app.tolvane.kasto"}};
    ASSERT_TRUE(recorder->start());
    EXPECT_EQ(recorder->captureDisplayID(), 1u);
    feedPicture(1);
    ASSERT_TRUE(waitForFrames(3));
    const auto movie = recorder->stop();
    ASSERT_TRUE(movie);
    const std::string name = movie->filename();
    std::string shape = name;
    std::ranges::replace_if(
        shape, [](char c) { return c >= '0' && c <= '9'; }, '0');
    EXPECT_EQ(shape, "kasto-00000000-000000.mov");
    EXPECT_EQ(movie->parent_path(), Prefs::saveDir());
    EXPECT_TRUE(std::filesystem::exists(*movie));
    EXPECT_EQ(log.all(), (std::vector<std::string>{
                             "kasto: filter excludes 2 app(s)", "kasto: audio: sys=true mic=false",
                             "kasto: recording 640x360@60 → " + name, "kasto: stopped → " + name}));
    EXPECT_EQ(desktop.screenCapture.filter.excludedApplications.size(), 2u);
    EXPECT_EQ(written().fragmentInterval, (MediaTime{2400, 600}));
    EXPECT_EQ(written().tracksFinished, 2);
    EXPECT_FALSE(written().usedAfterEnd);
    EXPECT_FALSE(desktop.screenCapture.isCapturing());
}

TEST_F(RecorderTest, SessionStartsWithTheFirstCompletePictureAndTimesRise) {
    ASSERT_TRUE(recorder->start());
    for (const auto status : {FrameStatus::idle, FrameStatus::blank, FrameStatus::suspended,
                              FrameStatus::started, FrameStatus::stopped}) {
        feedPicture(1, status);
    }
    desktop.screenCapture.feed(ScreenFrame{FrameStatus::complete, {}, 2, {}, 0});
    ASSERT_TRUE(waitForSteps(4));
    EXPECT_EQ(written().frameCount(), 0u);
    EXPECT_TRUE(written().sessions.copy().empty());
    feedPicture(3);
    ASSERT_TRUE(waitForFrames(4));
    recorder->stop();
    const auto frames = written().frames.copy();
    EXPECT_EQ(written().sessions.copy(), std::vector{frames.front().time});
    EXPECT_GE(frames.front().time.seconds(), 0.05);
    for (const auto& frame : frames) EXPECT_EQ(frame.time.timescale, 600);
    EXPECT_TRUE(std::ranges::is_sorted(frames, {}, [](const WrittenFrame& f) { return f.time.value; }));
}

// Each row is one way in which start() fails; afterwards stop() must leave nothing behind and the next take
// must work.
TEST_F(RecorderTest, RecoversFromEveryFailureToStart) {
    auto& screen = desktop.screenCapture;
    auto& writers = desktop.movieWriters;
    const Error error{"broken", 7};
    const std::string noWriter = "could not start the movie writer";
    struct Row {
        const char* name;
        std::function<void()> breakIt, repair;
        std::string text;
        bool leavesMovie = false;
    };
    const Row rows[] = {
        {"content", [&] { screen.contentError = error; }, [&] { screen.contentError = {}; }, "broken"},
        {"stream", [&] { screen.streamError = error; }, [&] { screen.streamError = {}; }, "broken"},
        {"screen output", [&] { screen.refusedOutput = StreamOutputType::screen; },
         [&] { screen.refusedOutput = {}; }, "no such output"},
        {"sound output", [&] { screen.refusedOutput = StreamOutputType::audio; },
         [&] { screen.refusedOutput = {}; }, "no such output"},
        {"writer", [&] { writers.makeError = error; }, [&] { writers.makeError = {}; }, "broken"},
        {"video input", [&] { writers.takesVideo = false; }, [&] { writers.takesVideo = true; }, noWriter},
        {"writing", [&] { writers.starts = false; }, [&] { writers.starts = true; }, noWriter},
        {"capture", [&] { screen.startError = error; }, [&] { screen.startError = {}; }, "broken", true},
        {"early death", [&] { screen.diesAtStart = error; }, [&] { screen.diesAtStart = {}; }, "broken",
         true},
    };
    for (const bool stopsBetween : {true, false}) {
        for (const Row& row : rows) {
            SCOPED_TRACE(row.name);
            row.breakIt();
            const auto started = recorder->start();
            ASSERT_FALSE(started);
            EXPECT_EQ(started.error().description, row.text);
            EXPECT_FALSE(screen.isCapturing());
            EXPECT_EQ(filesInSaveDir(), row.leavesMovie ? 1u : 0u);
            log.clear();
            if (stopsBetween) {
                EXPECT_FALSE(recorder->stop());
                EXPECT_EQ(log.count("kasto: stopped → (no file)"), row.leavesMovie ? 1 : 0);
                EXPECT_EQ(filesInSaveDir(), 0u);
            }
            row.repair();
            recordAndDelete();
        }
    }
}

TEST_F(RecorderTest, SaysWhyTheSaveFolderCannotBeWritten) {
    const auto folder = Prefs::saveDir();
    std::filesystem::remove_all(folder);
    test::writeFile(folder, "a file in the folder's place");
    const auto started = recorder->start();
    std::filesystem::remove(folder);
    ASSERT_FALSE(started);
    EXPECT_EQ(started.error(), systemError("write to " + folder.string(), ENOTDIR));
}

TEST_F(RecorderTest, RefusesASecondStartAndKeepsTheTake) {
    ASSERT_TRUE(recorder->start());
    feedPicture(1);
    EXPECT_FALSE(recorder->start());
    EXPECT_EQ(desktop.screenCapture.streamsMade, 1);
    desktop.screenCapture.die({"gone"});
    EXPECT_FALSE(recorder->start()) << "an ended take still has to be finished";
    recorder->stop();
    EXPECT_EQ(desktop.movieWriters.movies.size(), 1u);
    recordAndDelete();
}

TEST_F(RecorderTest, TakesOfOneSecondGetNamesOfTheirOwn) {
    std::vector<std::filesystem::path> files;
    for (int take = 0; take < 4; ++take) {
        ASSERT_TRUE(recorder->start());
        feedPicture(1);
        ASSERT_TRUE(waitForFrames(1));
        const auto file = recorder->stop();
        ASSERT_TRUE(file);
        // Whatever a finished movie becomes, its name stays taken.
        if (take == 1) std::filesystem::rename(*file, std::filesystem::path(*file).replace_extension(".mp4"));
        files.push_back(file->stem());
    }
    std::ranges::sort(files);
    EXPECT_EQ(std::ranges::adjacent_find(files), files.end());
}

TEST_F(RecorderTest, DeletesOnlyMoviesWithoutContent) {
    struct Row {
        const char* name;
        bool picture, fails, completes;
        bool returned, kept;
    };
    for (const Row& row : {Row{"no frame", false, false, true, false, false},
                           Row{"writer failed", true, true, true, false, false},
                           Row{"not completed", true, false, false, false, true},
                           Row{"completed", true, false, true, true, true}}) {
        SCOPED_TRACE(row.name);
        desktop.movieWriters.completes = row.completes;
        desktop.screenCapture.stopError = Error{"ignored"};
        ASSERT_TRUE(recorder->start());
        if (row.picture) {
            feedPicture(1);
            ASSERT_TRUE(waitForFrames(1));
        }
        if (row.fails) written().status = WriterStatus::failed;
        log.clear();
        const auto file = recorder->stop();
        EXPECT_EQ(file.has_value(), row.returned);
        EXPECT_EQ(std::filesystem::exists(written().file), row.kept);
        EXPECT_EQ(log.all(),
                  std::vector{"kasto: stopped → " + (file ? file->filename().string() : "(no file)")});
        clearSaveDir();
    }
    log.clear();
    EXPECT_FALSE(recorder->stop());
    EXPECT_TRUE(log.all().empty());
}

TEST_F(RecorderTest, DestructionFinishesTheTake) {
    ASSERT_TRUE(recorder->start());
    feedPicture(1);
    ASSERT_TRUE(waitForFrames(1));
    recorder.reset();
    EXPECT_EQ(written().status, WriterStatus::completed);
    EXPECT_FALSE(desktop.screenCapture.isCapturing());
}

TEST_F(RecorderTest, HoldsNoPictureAfterTheTake) {
    const auto screen = picture(640, 360);
    const auto webcam = picture(64, 36);
    std::atomic<int> lent = 2;
    const auto lend = [&](const PixelBufferRef& owner) {
        return PixelBuffer::wrap(PixelFormat::bgrx, owner->width(), owner->height(),
                                 std::span(&owner->plane(0), 1), [&lent] { --lent; });
    };
    ASSERT_TRUE(recorder->start());
    model.setPip(true, true);
    camera.captureOutput(lend(webcam));
    desktop.screenCapture.feed(ScreenFrame{FrameStatus::complete, lend(screen), 1, {}, 0});
    ASSERT_TRUE(waitForFrames(2));
    camera.stop();
    EXPECT_EQ(lent, 2);
    recorder->stop();
    EXPECT_EQ(lent, 0);
}

TEST_F(RecorderTest, TellsOfTheStreamsDeathOnce) {
    std::atomic<int> told = 0;
    recorder->onStreamStopped = [&](const std::optional<Error>& error) {
        ++told;
        EXPECT_EQ(error, Error{"display gone"});
    };
    ASSERT_TRUE(recorder->start());
    feedPicture(1);
    ASSERT_TRUE(waitForFrames(1));
    desktop.screenCapture.die({"display gone"});
    desktop.screenCapture.die({"display gone"});
    EXPECT_EQ(told, 1);
    EXPECT_EQ(log.count("kasto: stream stopped: display gone"), 2);
    EXPECT_TRUE(recorder->stop()) << "what was recorded until then is a movie";
    ASSERT_TRUE(recorder->start());
    recorder->stop();
    EXPECT_EQ(told, 1);
}

TEST_F(RecorderTest, DropsTicksThatCannotBeWritten) {
    auto& writers = desktop.movieWriters;
    writers.poolLimit = 2;
    ASSERT_TRUE(recorder->start());
    feedPicture(1);
    ASSERT_TRUE(waitForFrames(1));

    const auto expectNoFrames = [&] {
        ASSERT_TRUE(waitForTicks(2));  // one that began before may still have come through
        const auto before = written().frameCount();
        ASSERT_TRUE(waitForTicks(3));
        EXPECT_EQ(written().frameCount(), before);
    };
    writers.ready = false;
    expectNoFrames();
    writers.ready = true;
    ASSERT_TRUE(waitForMoreFrames());
    writers.hasPool = false;
    expectNoFrames();
    writers.hasPool = true;
    ASSERT_TRUE(waitForMoreFrames());
    written().status = WriterStatus::failed;
    expectNoFrames();
    written().status = WriterStatus::writing;
    ASSERT_TRUE(waitForMoreFrames());

    // The fake keeps every buffer it gets: the second new picture finds the pool empty.
    feedPicture(2);
    ASSERT_TRUE(waitUntil([&] { return differentBuffers() == 2; }));
    feedPicture(3);
    expectNoFrames();
}

TEST_F(RecorderTest, AStillScreenGivesTheSameBufferAgain) {
    ASSERT_TRUE(recorder->start());
    feedPicture(1);
    ASSERT_TRUE(waitForFrames(6));
    EXPECT_EQ(differentBuffers(), 1u);
    feedPicture(1);  // another copy of the same picture
    ASSERT_TRUE(waitForMoreFrames(3));
    EXPECT_EQ(differentBuffers(), 1u);
    feedPicture(2);
    ASSERT_TRUE(waitUntil([&] { return differentBuffers() == 2; }));
    ASSERT_TRUE(waitForMoreFrames(2));
    model.spawnRipple({100, 100}, mediaClockNow());
    EXPECT_TRUE(waitUntil([&] { return differentBuffers() > 2; })) << "a pulse changes every frame";
}

TEST_F(RecorderTest, ACameraFrameChangesThePictureAndTheTile) {
    struct Row {
        int width, height;
        double aspect;
    };
    desktop.movieWriters.poolLimit = 64;
    ASSERT_TRUE(recorder->start());
    model.setPip(true, false);
    feedPicture(1);
    ASSERT_TRUE(waitForFrames(2));
    std::size_t buffers = differentBuffers();
    for (const Row& row : {Row{1920, 1080, 16.0 / 9}, Row{100, 1000, 0.4}, Row{4000, 1000, 3.0}}) {
        camera.captureOutput(picture(row.width, row.height));
        EXPECT_TRUE(waitUntil([&] {
            const auto tile = model.snapshot().camRect;
            return tile && std::abs(tile->width / tile->height - row.aspect) < 0.02;
        })) << row.aspect;
        EXPECT_TRUE(waitUntil([&] { return differentBuffers() > buffers; }));
        buffers = differentBuffers();
    }
}

// What ThreadSanitizer is to look at: pictures, sound, input and the stream's death come from other threads
// while takes start and stop.
TEST_F(RecorderTest, SurvivesEverythingAtOnce) {
    std::atomic<bool> ended = false;
    recorder->onStreamStopped = [](const auto&) {};
    std::jthread feeder([&] {
        for (std::uint64_t generation = 1; !ended; ++generation) {
            feedPicture(generation);
            desktop.screenCapture.feed(sound(2, mediaClockNow()), StreamOutputType::audio);
            if (generation % 97 == 0) desktop.screenCapture.die({"gone"});
            std::this_thread::sleep_for(std::chrono::microseconds(500));
        }
    });
    std::jthread input([&] {
        while (!ended) {
            model.zoom(0.01);
            camera.captureOutput(picture(64, 36));
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    });
    desktop.movieWriters.poolLimit = 400;
    for (int take = 0; take < 12; ++take) {
        desktop.screenCapture.startError = take % 5 == 4 ? std::optional(Error{"busy"}) : std::nullopt;
        const bool started = recorder->start().has_value();
        EXPECT_EQ(started, take % 5 != 4);
        model.setPip(take % 2 == 0, take % 4 == 0);
        if (started) std::this_thread::sleep_for(std::chrono::milliseconds(take % 3 == 0 ? 0 : 90));
        if (take % 6 == 0) std::jthread([&] { recorder->stop(); });
        recorder->stop();
        EXPECT_FALSE(written().usedAfterEnd);
    }
    ended = true;
}

}  // namespace
}  // namespace kasto
