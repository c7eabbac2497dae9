#include "linux/ffmpeg/FfmpegMovieWriters.h"
#include "linux/ffmpeg/MovieProbe.h"
#include "linux/ffmpeg/TakeOnPaper.h"
#include "support/TestFolder.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>

namespace kasto {
namespace {

using namespace test;
using Times = std::vector<std::int64_t>;

TEST(MovieWriterTest, completedMovieIsPlainAndDescribesItself) {
    const TestFolder folder;
    TakeOnPaper take(folder / "a.mov");
    ASSERT_TRUE(take.start());
    take.appendMoving(600);
    take.input().markAsFinished();
    take.writer().finishWriting();

    EXPECT_EQ(take.writer().status(), WriterStatus::completed);
    EXPECT_FALSE(take.writer().error());
    EXPECT_EQ(outermostBoxes(folder / "a.mov"), "ftyp mdat moov");
    const auto movie = probeMovie(folder / "a.mov");
    EXPECT_EQ(movie.profile, "High");
    EXPECT_EQ(movie.width, 320);
    EXPECT_EQ(movie.height, 180);
    EXPECT_TRUE(movie.isBt709Limited);
    EXPECT_TRUE(movie.isChromaCentred);
    EXPECT_EQ(movie.timescale, 600);
    EXPECT_EQ(movie.durationUnits, 6000);
    EXPECT_EQ(movie.pictures.size(), 600u);
    EXPECT_EQ(movie.decodeErrors, 0);
    const auto fromMiddle = probeMovie(folder / "a.mov", 3700);
    ASSERT_FALSE(fromMiddle.pictures.empty());
    EXPECT_EQ(fromMiddle.pictures.front().timeUnits, 3600);
    EXPECT_EQ(fromMiddle.decodeErrors, 0);
}

TEST(MovieWriterTest, flatColoursStayWhatTheyAre) {
    const TestFolder folder;
    const std::vector<std::array<int, 3>> colours{{16, 128, 128}, {235, 128, 128}, {63, 102, 240},
                                                  {173, 42, 26},  {32, 240, 118},  {126, 128, 128},
                                                  {219, 16, 138}, {78, 214, 230},  {188, 154, 16}};
    TakeOnPaper take(folder / "a.mov");
    ASSERT_TRUE(take.start());
    std::int64_t timeUnits = 0;
    for (const auto& [luma, cb, cr] : colours)
        for (int i = 0; i < 6; ++i, timeUnits += 10)
            take.append(paintedPicture(take.settings(), luma, cb, cr), timeUnits);
    take.writer().finishWriting();

    const auto movie = probeMovie(folder / "a.mov");
    ASSERT_EQ(movie.pictures.size(), colours.size() * 6);
    for (std::size_t i = 0; i < movie.pictures.size(); ++i) {
        const auto& [luma, cb, cr] = colours[i / 6];
        EXPECT_NEAR(movie.pictures[i].luma, luma, 1) << "picture " << i;
        EXPECT_NEAR(movie.pictures[i].cb, cb, 1) << "picture " << i;
        EXPECT_NEAR(movie.pictures[i].cr, cr, 1) << "picture " << i;
    }
}

struct Timing {
    const char* name;
    MediaTime sessionStart;
    Times given;     // units of 1/600 s on the clock of the session
    Times expected;  // in the movie
    std::int64_t duration;
};

TEST(MovieWriterTest, timesAreThoseGiven) {
    const Timing timings[] = {
        {"steady", {0, 600}, {0, 10, 20, 30}, {0, 10, 20, 30}, 40},
        {"begins at the session", {31, 600}, {31, 41, 52}, {0, 10, 21}, 31},
        {"jitter and gaps", {0, 600}, {0, 9, 10, 31, 1231, 1232}, {0, 9, 10, 31, 1231, 1232}, 1242},
        {"single picture", {7, 600}, {7}, {0}, 10},
        {"late first picture", {0, 600}, {90, 100}, {90, 100}, 20},
        {"session in other units", {1, 20}, {30, 40}, {0, 10}, 20},
        {"what does not rise is left out", {20, 600}, {10, 20, 30, 30, 29, 40}, {0, 10, 20}, 30},
    };
    for (const auto& timing : timings) {
        SCOPED_TRACE(timing.name);
        const TestFolder folder;
        TakeOnPaper take(folder / "a.mov");
        ASSERT_TRUE(take.start(timing.sessionStart));
        std::size_t taken = 0;
        for (const std::int64_t units : timing.given)
            taken += take.append(paintedPicture(take.settings(), 90, 128, 128), units);
        EXPECT_EQ(taken, timing.expected.size());
        take.writer().finishWriting();
        const auto movie = probeMovie(folder / "a.mov");
        EXPECT_EQ(movie.times(), timing.expected);
        EXPECT_EQ(movie.durationUnits, timing.duration);
        EXPECT_EQ(movie.decodeErrors, 0);
    }
}

TEST(MovieWriterTest, keyPicturesComeAsOftenAsAsked) {
    const TestFolder folder;
    auto settings = smallVideo(30);
    settings.maxKeyFrameInterval = 17;
    TakeOnPaper take(folder / "a.mov", settings);
    ASSERT_TRUE(take.start());
    take.appendMoving(300);
    take.writer().finishWriting();
    const auto movie = probeMovie(folder / "a.mov");
    ASSERT_EQ(movie.pictures.size(), 300u);
    EXPECT_TRUE(movie.pictures.front().isKey);
    int sinceKey = 0;
    for (const auto& picture : movie.pictures) {
        sinceKey = picture.isKey ? 0 : sinceKey + 1;
        EXPECT_LT(sinceKey, 17);
    }
}

TEST(MovieWriterTest, fullQueueRefusesAndRecovers) {
    const TestFolder folder;
    auto settings = smallVideo();
    settings.width = 1920;
    settings.height = 1080;
    TakeOnPaper take(folder / "a.mov", settings);
    ASSERT_TRUE(take.start());
    // An unchanged picture may be given again.
    const auto picture = paintedPicture(settings, 120, 128, 128, 5);
    Times taken;
    std::int64_t units = 0;
    for (; units < 1000 && take.adaptor().append(picture, {units, 600}); units += 10) taken.push_back(units);
    ASSERT_GE(units, 80);
    ASSERT_LT(units, 1000);
    EXPECT_TRUE(take.append(picture, units + 5));
    taken.push_back(units + 5);
    take.writer().finishWriting();
    EXPECT_EQ(probeMovie(folder / "a.mov").times(), taken);
}

TEST(MovieWriterTest, poolFeedsTheQueueAndGetsEverythingBack) {
    const TestFolder folder;
    TakeOnPaper take(folder / "a.mov");
    EXPECT_EQ(take.adaptor().pixelBufferPool(), nullptr);
    ASSERT_TRUE(take.start());
    auto* pool = take.adaptor().pixelBufferPool();
    ASSERT_NE(pool, nullptr);
    const auto takeAll = [&] {
        std::vector<PixelBufferRef> all;
        while (auto buffer = pool->take()) all.push_back(std::move(buffer));
        return all;
    };
    const std::size_t limit = takeAll().size();
    EXPECT_GE(limit, 10u);
    for (int i = 0; i < 40; ++i) {
        PixelBufferRef buffer;
        ASSERT_TRUE(eventually([&] { return bool{buffer = pool->take()}; }));
        EXPECT_EQ(buffer->format(), PixelFormat::i420);
        take.append(buffer, i * 10);
    }
    take.writer().finishWriting();
    EXPECT_EQ(takeAll().size(), limit);
}

// How many bytes this process has handed to write calls.
std::int64_t bytesWritten() {
    std::ifstream in("/proc/self/io");
    for (std::string key; in >> key;)
        if (key == "wchar:") {
            std::int64_t value = -1;
            in >> value;
            return value;
        }
    return -1;
}

TEST(MovieWriterTest, finishingCopiesNoMedia) {
    if (bytesWritten() < 0) GTEST_SKIP() << "this kernel does not count written bytes";
    const TestFolder folder;
    TakeOnPaper take(folder / "a.mov", smallVideo(), {60, 600});
    ASSERT_TRUE(take.start());
    take.appendMoving(1500);
    const std::int64_t before = bytesWritten();
    take.writer().finishWriting();
    const std::int64_t written = bytesWritten() - before;
    // The tables, and what was still queued: a few dozen of the pictures at most.
    EXPECT_LT(written, static_cast<std::int64_t>(std::filesystem::file_size(folder / "a.mov")) / 10);
    EXPECT_EQ(probeMovie(folder / "a.mov").pictures.size(), 1500u);
}

}  // namespace
}  // namespace kasto
