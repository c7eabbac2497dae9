#include "support/TakeFixture.h"

#include <regex>

namespace kasto {
namespace {

using test::picture;
using test::waitUntil;

class RecorderTest : public test::TakeFixture {};

TEST_F(RecorderTest, RunsATakeFromTheFirstCompletePictureOn) {
    desktop.screenCapture.content.applications = {{"app.tolvane.kasto"}, {"app.other"}};
    ASSERT_TRUE(recorder->start());
    EXPECT_EQ(recorder->captureDisplayID(), 1u);
    desktop.screenCapture.feed(ScreenFrame{{}, 2, {}, 0});
    ASSERT_TRUE(waitForTicks(4));
    EXPECT_EQ(written().frameCount(), 0u);
    EXPECT_TRUE(written().sessions.copy().empty());
    feedPicture(3);
    ASSERT_TRUE(waitForMoreFrames(4));
    const auto movie = recorder->stop();
    ASSERT_TRUE(movie);
    const std::string name = movie->filename();
    EXPECT_EQ(*movie, Prefs::saveDir() / name);
    EXPECT_TRUE(std::regex_match(name, std::regex(R"(kasto-\d{8}-\d{6}\.mov)"))) << name;
    EXPECT_EQ(log.all(), (std::vector<std::string>{
                             "kasto: filter excludes 1 app(s)", "kasto: audio: sys=true mic=false",
                             "kasto: recording 640x360@60 → " + name, "kasto: stopped → " + name}));
    EXPECT_EQ(written().tracksFinished, 2);
    const MediaTime first = written().frames.copy().front().second;
    EXPECT_EQ(written().sessions.copy(), std::vector{first});
    EXPECT_GE(first.seconds(), 0.05);
}

TEST_F(RecorderTest, RecoversFromEveryFailureToStart) {
    auto& screen = desktop.screenCapture;
    auto& writers = desktop.movieWriters;
    struct Row {
        std::optional<Error>* error;
        std::string text;
        int moviesLeft;  // until the next start or stop
    };
    const Row rows[] = {
        {&screen.contentError, "content", 0}, {&screen.streamError, "stream", 0},
        {&writers.makeError, "writer", 0},    {&screen.startError, "capture", 1},
        {&screen.diesAtStart, "death", 1},    {&writers.startError, "could not start the movie writer", 0}};
    for (const bool stopsBetween : {true, false}) {
        for (const Row& row : rows) {
            SCOPED_TRACE(row.text);
            *row.error = Error{row.text};
            const auto started = recorder->start();
            row.error->reset();
            ASSERT_FALSE(started);
            EXPECT_EQ(started.error().description, row.text);
            EXPECT_FALSE(screen.isCapturing());
            EXPECT_EQ(filesInSaveDir(), row.moviesLeft);
            if (stopsBetween) {
                EXPECT_FALSE(recorder->stop());
                EXPECT_EQ(log.count("kasto: stopped → (no file)"), row.moviesLeft);
                EXPECT_EQ(filesInSaveDir(), 0);
            }
            startTake();
            ASSERT_TRUE(recorder->stop());
            EXPECT_EQ(filesInSaveDir(), 1);
            clearSaveDir();
            log.clear();
        }
    }
    const auto folder = Prefs::saveDir();
    std::filesystem::remove(folder);
    test::writeFile(folder, "a file in the folder's place");
    EXPECT_EQ(recorder->start().error(), systemError("write to " + folder.string(), ENOTDIR));
    std::filesystem::remove(folder);
}

TEST_F(RecorderTest, DeletesOnlyMoviesWithoutContentAndReplacesNone) {
    struct Row {
        bool picture, fails, completes;
        bool returned, kept;
    };
    std::set<std::string> names;
    for (const Row& row : {Row{false, false, true, false, false}, Row{true, true, true, false, false},
                           Row{true, false, false, false, true}, Row{true, false, true, true, true},
                           Row{true, false, true, true, true}}) {
        desktop.movieWriters.completes = row.completes;
        ASSERT_TRUE(recorder->start());
        if (row.picture) feedPicture(1);
        ASSERT_TRUE(row.picture ? waitForMoreFrames(1) : waitForTicks(1));
        if (row.fails) written().status = WriterStatus::failed;
        log.clear();
        const auto file = recorder->stop();
        EXPECT_EQ(file.has_value(), row.returned);
        EXPECT_EQ(log.all(),
                  std::vector{"kasto: stopped → " + (file ? file->filename().string() : "(no file)")});
        const auto movie = written().file;
        EXPECT_EQ(std::filesystem::exists(movie), row.kept);
        if (!row.kept) continue;
        EXPECT_TRUE(names.insert(movie.stem()).second) << "takes of one second";
        // Whatever a finished movie becomes, its name stays taken.
        if (names.size() == 1)
            std::filesystem::rename(movie, Prefs::saveDir() / (movie.stem().string() + ".mp4"));
    }
    log.clear();
    EXPECT_FALSE(recorder->stop());
    EXPECT_TRUE(log.all().empty());
}

TEST_F(RecorderTest, KeepsTheTakeThroughStreamDeathSecondStartAndDestruction) {
    std::atomic<int> told = 0;
    recorder->onStreamStopped = [&](const auto& error) {
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
    EXPECT_TRUE(recorder->stop()) << "what was recorded until then is a movie";
    startTake();
    written().onFailure({"display gone"});
    EXPECT_EQ(told, 2) << "a movie that cannot be written ends its take too";
    EXPECT_EQ(log.count("kasto: writing stopped: display gone"), 1);
    EXPECT_TRUE(recorder->stop());
    startTake();
    recorder.reset();
    EXPECT_EQ(written().status, WriterStatus::completed);
    EXPECT_FALSE(desktop.screenCapture.isCapturing());
    EXPECT_EQ(told, 2);
}

TEST_F(RecorderTest, HoldsNoPictureAfterTheTake) {
    std::atomic<int> lent = 3;
    const auto lend = [&](int width, int height) {
        auto owner = picture(width, height);
        const std::span planes(&owner->plane(0), 1);
        return PixelBuffer::wrap(PixelFormat::bgrx, width, height, planes, [&lent, owner] { --lent; });
    };
    ASSERT_TRUE(recorder->start());
    model.setPip(true, true);
    camera.captureOutput(lend(64, 36));
    desktop.screenCapture.feed(ScreenFrame{lend(640, 360), 1, {}, 0});
    ASSERT_TRUE(waitForMoreFrames(2));
    // Drawn as the tile, which keeps it.
    camera.captureOutput(lend(64, 36));
    camera.captureOutput({});
    EXPECT_GE(lent, 2);
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
    // The display changes its resolution and its place.
    const auto before = model.area();
    desktop.screenCapture.feed(ScreenFrame{picture(320, 360), 3, {}, 0, {50, 60, 160, 180}});
    EXPECT_TRUE(waitUntil([&] { return differentBuffers() == 3; }));
    EXPECT_EQ(model.snapshot().area, CaptureArea::fitting({50, 60, 160, 180}, {320, 360}, {640, 360}));
    EXPECT_EQ(log.count("kasto: display changed — recording 320x360 @ (50,60)"), 1);
    feedPicture(4);  // and back
    EXPECT_TRUE(waitUntil([&] { return model.snapshot().area == before; }));
    model.setPip(true, false);
    for (const auto& [width, aspect] : {std::pair{1600, 1.6}, {100, 0.4}, {4000, 3.0}}) {
        camera.captureOutput(picture(width, 1000));
        EXPECT_TRUE(waitUntil([&] {
            const Rect tile = model.snapshot().camRect.value_or(Rect{});
            return std::abs(tile.width - aspect * tile.height) < 1;
        })) << aspect;
    }
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
            model.pan({1, -3});
            model.setMouse({1, 1}, generation % 2 == 0);
            model.spawnRipple({1, 1}, mediaClockNow());
            camera.captureOutput(picture(64, 36));
            std::this_thread::sleep_for(std::chrono::microseconds(500));
        }
    });
    desktop.movieWriters.poolLimit = 400;
    for (int take = 0; take < 12; ++take) {
        const bool fails = take % 5 == 4;
        desktop.screenCapture.startError = fails ? std::optional(Error{"busy"}) : std::nullopt;
        EXPECT_NE(recorder->start().has_value(), fails);
        model.setPip(take % 2 == 0, take % 4 == 0);
        std::this_thread::sleep_for(std::chrono::milliseconds(take % 3 == 0 ? 0 : 90));
        if (take % 6 == 0) std::jthread([&] { recorder->stop(); });
        recorder->stop();
        EXPECT_FALSE(written().usedAfterEnd);
    }
}

}  // namespace
}  // namespace kasto
