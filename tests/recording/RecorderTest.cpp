#include "support/TakeFixture.h"

#include <algorithm>
#include <cerrno>

namespace kasto {
namespace {

using test::picture;
using test::waitUntil;

class RecorderTest : public test::TakeFixture {};

TEST_F(RecorderTest, RunsATakeFromTheFirstCompletePictureOn) {
    desktop.screenCapture.content.applications = {
        {"app.tolvane.kasto"}, {"app.other"}, {"app.tolvane.kasto"}};
    ASSERT_TRUE(recorder->start());
    EXPECT_EQ(recorder->captureDisplayID(), 1u);
    for (const auto status : {FrameStatus::idle, FrameStatus::blank, FrameStatus::suspended,
                              FrameStatus::started, FrameStatus::stopped}) {
        feedPicture(1, status);
    }
    desktop.screenCapture.feed(ScreenFrame{FrameStatus::complete, {}, 2, {}, 0});
    ASSERT_TRUE(waitForTicks(4));
    EXPECT_EQ(written().frameCount(), 0u);
    EXPECT_TRUE(written().sessions.copy().empty());
    feedPicture(3);
    ASSERT_TRUE(waitForMoreFrames(4));
    const auto movie = recorder->stop();

    ASSERT_TRUE(movie);
    const std::string name = movie->filename();
    std::string shape = name;
    std::ranges::replace_if(
        shape, [](char c) { return std::isdigit(c); }, '0');
    EXPECT_EQ(*movie, Prefs::saveDir() / name);
    EXPECT_EQ(shape, "kasto-00000000-000000.mov");
    EXPECT_TRUE(std::filesystem::exists(*movie));
    EXPECT_EQ(log.all(), (std::vector<std::string>{
                             "kasto: filter excludes 2 app(s)", "kasto: audio: sys=true mic=false",
                             "kasto: recording 640x360@60 → " + name, "kasto: stopped → " + name}));
    EXPECT_EQ(desktop.screenCapture.filter.excludedApplications.size(), 2u);
    EXPECT_FALSE(desktop.screenCapture.isCapturing());
    EXPECT_EQ(written().fragmentInterval, (MediaTime{2400, 600}));
    EXPECT_EQ(written().tracksFinished, 2);
    std::vector<double> times;
    for (const auto& [buffer, time] : written().frames.copy()) times.push_back(time.seconds());
    EXPECT_EQ(written().sessions.copy().at(0).seconds(), times.front());
    EXPECT_GE(times.front(), 0.05);
    EXPECT_TRUE(std::ranges::is_sorted(times));
}

// Each row is one way in which start() fails; afterwards the next take must work, and stop() must leave
// nothing behind.
TEST_F(RecorderTest, RecoversFromEveryFailureToStart) {
    auto& screen = desktop.screenCapture;
    auto& writers = desktop.movieWriters;
    const auto broken = [](auto& field, auto value) -> std::function<void(bool)> {
        return [&field, value, good = field](bool now) {
            field = good;
            if (now) field = value;
        };
    };
    struct Row {
        std::function<void(bool)> setBroken;
        std::string text;
        int moviesLeft;
    };
    const Row rows[] = {
        {broken(screen.contentError, Error{"content", 7}), "content", 0},
        {broken(screen.streamError, Error{"stream", 7}), "stream", 0},
        {broken(screen.refusedOutput, StreamOutputType::screen), "no such output", 0},
        {broken(screen.refusedOutput, StreamOutputType::audio), "no such output", 0},
        {broken(writers.makeError, Error{"writer", 7}), "writer", 0},
        {broken(writers.starts, false), "could not start the movie writer", 0},
        {broken(screen.startError, Error{"capture", 7}), "capture", 1},
        {broken(screen.diesAtStart, Error{"early death", 7}), "early death", 1},
    };
    for (const bool stopsBetween : {true, false}) {
        for (const Row& row : rows) {
            row.setBroken(true);
            const auto started = recorder->start();
            ASSERT_FALSE(started) << row.text;
            EXPECT_EQ(started.error().description, row.text);
            EXPECT_FALSE(screen.isCapturing()) << row.text;
            EXPECT_EQ(filesInSaveDir(), row.moviesLeft) << row.text;
            if (stopsBetween) {
                EXPECT_FALSE(recorder->stop());
                EXPECT_EQ(log.count("kasto: stopped → (no file)"), row.moviesLeft) << row.text;
                EXPECT_EQ(filesInSaveDir(), 0) << row.text;
            }
            row.setBroken(false);
            startTake();
            ASSERT_TRUE(recorder->stop()) << row.text;
            EXPECT_EQ(filesInSaveDir(), 1) << row.text;
            clearSaveDir();
            log.clear();
        }
    }
}

TEST_F(RecorderTest, SaysWhyTheSaveFolderCannotBeWritten) {
    const auto folder = Prefs::saveDir();
    std::filesystem::remove(folder);
    test::writeFile(folder, "a file in the folder's place");
    const auto started = recorder->start();
    std::filesystem::remove(folder);
    ASSERT_FALSE(started);
    EXPECT_EQ(started.error(), systemError("write to " + folder.string(), ENOTDIR));
}

TEST_F(RecorderTest, TakesOfOneSecondGetNamesOfTheirOwn) {
    std::set<std::string> names;
    for (int take = 0; take < 4; ++take) {
        startTake();
        const auto file = recorder->stop();
        ASSERT_TRUE(file);
        EXPECT_TRUE(names.insert(file->stem()).second) << *file;
        // Whatever a finished movie becomes, its name stays taken.
        if (take == 1) std::filesystem::rename(*file, std::filesystem::path(*file).replace_extension(".mp4"));
    }
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
        if (row.picture) feedPicture(1);
        ASSERT_TRUE(row.picture ? waitForMoreFrames(1) : waitForTicks(1));
        if (row.fails) written().status = WriterStatus::failed;
        log.clear();
        const auto file = recorder->stop();
        EXPECT_EQ(file.has_value(), row.returned);
        EXPECT_EQ(std::filesystem::exists(written().file), row.kept);
        EXPECT_EQ(log.all(),
                  std::vector{"kasto: stopped → " + (file ? file->filename().string() : "(no file)")});
    }
    log.clear();
    EXPECT_FALSE(recorder->stop());
    EXPECT_TRUE(log.all().empty());
}

TEST_F(RecorderTest, KeepsTheTakeThroughStreamDeathSecondStartAndDestruction) {
    std::atomic<int> told = 0;
    recorder->onStreamStopped = [&](const std::optional<Error>& error) {
        ++told;
        EXPECT_EQ(error, Error{"display gone"});
    };
    startTake();
    EXPECT_FALSE(recorder->start());
    desktop.screenCapture.die({"display gone"});
    desktop.screenCapture.die({"display gone"});
    EXPECT_EQ(told, 1);
    EXPECT_EQ(log.count("kasto: stream stopped: display gone"), 2);
    EXPECT_FALSE(recorder->start()) << "an ended take still has to be finished";
    EXPECT_EQ(desktop.screenCapture.streamsMade, 1);
    EXPECT_TRUE(recorder->stop()) << "what was recorded until then is a movie";
    startTake();
    recorder.reset();
    EXPECT_EQ(written().status, WriterStatus::completed);
    EXPECT_FALSE(desktop.screenCapture.isCapturing());
    EXPECT_EQ(told, 1);
}

TEST_F(RecorderTest, HoldsNoPictureAfterTheTake) {
    const auto screen = picture(640, 360), webcam = picture(64, 36);
    std::atomic<int> lent = 2;
    const auto lend = [&](const PixelBufferRef& owner) {
        return PixelBuffer::wrap(PixelFormat::bgrx, owner->width(), owner->height(),
                                 std::span(&owner->plane(0), 1), [&lent] { --lent; });
    };
    ASSERT_TRUE(recorder->start());
    model.setPip(true, true);
    camera.captureOutput(lend(webcam));
    desktop.screenCapture.feed(ScreenFrame{FrameStatus::complete, lend(screen), 1, {}, 0});
    ASSERT_TRUE(waitForMoreFrames(2));
    camera.stop();
    EXPECT_EQ(lent, 2);
    recorder->stop();
    EXPECT_EQ(lent, 0);
}

TEST_F(RecorderTest, DropsTicksThatCannotBeWritten) {
    auto& writers = desktop.movieWriters;
    writers.poolLimit = 60;
    startTake();
    const auto expectNoFrames = [&] {
        ASSERT_TRUE(waitForTicks(2));  // one that began before may still have come through
        const auto before = written().frameCount();
        ASSERT_TRUE(waitForTicks(3));
        EXPECT_EQ(written().frameCount(), before);
    };
    for (auto* const can : {&writers.ready, &writers.hasPool}) {
        *can = false;
        expectNoFrames();
        *can = true;
        ASSERT_TRUE(waitForMoreFrames(1));
    }
    written().status = WriterStatus::failed;
    expectNoFrames();
    written().status = WriterStatus::writing;
    // The fake keeps every buffer it gets: pulses, which change every frame, empty the pool.
    while (differentBuffers() < 60) ASSERT_TRUE(waitForTicks(1));
    expectNoFrames();
}

TEST_F(RecorderTest, OnlyAChangeTakesANewBuffer) {
    startTake();
    feedPicture(1);  // another copy of the same picture
    ASSERT_TRUE(waitForMoreFrames(6));
    EXPECT_EQ(differentBuffers(), 1u);
    feedPicture(2);
    EXPECT_TRUE(waitUntil([&] { return differentBuffers() == 2; }));
    model.setPip(true, false);
    EXPECT_TRUE(waitUntil([&] { return differentBuffers() == 3; }));
    struct Row {
        int width, height;
        double aspect;
    };
    for (const Row& row : {Row{1920, 1080, 16.0 / 9}, Row{100, 1000, 0.4}, Row{4000, 1000, 3.0}}) {
        camera.captureOutput(picture(row.width, row.height));
        EXPECT_TRUE(waitUntil([&] {
            const auto tile = model.snapshot().camRect;
            return tile && std::abs(tile->width / tile->height - row.aspect) < 0.02;
        })) << row.aspect;
    }
    EXPECT_GE(differentBuffers(), 6u);
}

// What ThreadSanitizer is to look at: pictures, sound, input and the stream's death come from other threads
// while takes start and stop.
TEST_F(RecorderTest, SurvivesEverythingAtOnce) {
    recorder->onStreamStopped = [](const auto&) {};
    std::jthread feeder([&](const std::stop_token& ended) {
        for (std::uint64_t generation = 1; !ended.stop_requested(); ++generation) {
            feedPicture(generation);
            desktop.screenCapture.feed(test::sound(2, mediaClockNow()), StreamOutputType::audio);
            if (generation % 97 == 0) desktop.screenCapture.die({"gone"});
            model.zoom(0.01);
            camera.captureOutput(picture(64, 36));
            std::this_thread::sleep_for(std::chrono::microseconds(500));
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
}

}  // namespace
}  // namespace kasto
