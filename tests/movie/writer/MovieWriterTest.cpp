#include "movie/container/FragmentBoxes.h"
#include "movie/writer/TakeOnPaper.h"
#include "support/MovieProbe.h"
#include "support/TestFolder.h"
#include "support/WaitUntil.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>

namespace kasto {
namespace {

using namespace test;
using Times = std::vector<std::int64_t>;

struct ColourRow {
    int luma, cb, cr;
    std::array<int, 3> rgb;
};
constexpr ColourRow kColours[] = {
    {16, 128, 128, {0, 0, 0}},  {235, 128, 128, {255, 255, 255}}, {63, 102, 240, {255, 0, 0}},
    {173, 42, 26, {0, 255, 0}}, {32, 240, 118, {0, 0, 255}},      {126, 128, 128, {128, 128, 128}},
};

TEST(MovieWriterTest, completedMovieIsPlainAndDescribesItself) {
    const TestFolder folder;
    auto settings = kSmallVideo;
    settings.maxKeyFrameInterval = 17;
    TakeOnPaper take(folder / "a.mov", settings);
    ASSERT_TRUE(take.start());
    for (const auto& [luma, cb, cr, rgb] : kColours)
        for (int i = 0; i < 6; ++i) take.append(paintedPicture(settings, luma, cb, cr), take.nextUnits);
    take.appendMoving(564);
    const std::string fragments = readFile(folder / "a.mov");
    take.input->markAsFinished();
    take.writer->finishWriting();

    EXPECT_EQ(take.writer->status(), WriterStatus::completed);
    EXPECT_EQ(outermostBoxes(folder / "a.mov"), "ftyp mdat moov ");
    // Behind the header that takes them all up, no fragment was moved.
    ASSERT_GT(fragments.size(), 100'000u);
    EXPECT_EQ(readFile(folder / "a.mov").substr(64, fragments.size() - 64), fragments.substr(64));

    const MovieProbe movie(folder / "a.mov");
    auto stream = movie.videoStream();
    EXPECT_EQ(stream["chroma_location"], "center");
    EXPECT_EQ(stream["duration_ts"], "6000");
    EXPECT_EQ(movie.complaints(), "");
    EXPECT_EQ(movie.times().size(), 600u);

    const auto keys = movie.times("-skip_frame nokey");
    ASSERT_FALSE(keys.empty());
    EXPECT_EQ(keys.front(), 0);
    for (std::size_t i = 1; i < keys.size(); ++i) EXPECT_LE(keys[i] - keys[i - 1], 170);
    // A jump lands on the key picture before.
    const auto later = movie.times("-read_intervals 6.1%");
    ASSERT_FALSE(later.empty());
    EXPECT_EQ(later.front(), *(std::ranges::upper_bound(keys, 3660) - 1));

    // The first and the last picture of each colour.
    for (std::size_t i = 0; i < 2 * std::size(kColours); ++i) {
        const auto picture = movie.pictureAt(static_cast<double>(i / 2) / 10 + (i % 2 ? 0.08 : 0));
        for (std::size_t c = 0; c < 3; ++c) EXPECT_NEAR(picture.at(c), kColours[i / 2].rgb[c], 2) << i;
    }
}

TEST(MovieWriterTest, timesAreThoseGiven) {
    struct Row {
        const char* name;
        MediaTime sessionStart;
        Times given;     // units of 1/600 s on the clock of the session
        Times expected;  // in the movie
        std::string duration;
    };
    for (const auto& row : {
             Row{"begins at the session", {31, 600}, {31, 41, 52}, {0, 10, 21}, "31"},
             Row{"jitter and gaps", {0, 600}, {0, 9, 10, 31, 1231, 1232}, {0, 9, 10, 31, 1231, 1232}, "1242"},
             Row{"single picture", {7, 600}, {7}, {0}, "10"},
             Row{"late first picture", {0, 600}, {90, 100}, {90, 100}, "20"},
             Row{"session in other units", {1, 20}, {30, 40}, {0, 10}, "20"},
             Row{"what does not rise is left out", {20, 600}, {10, 20, 30, 30, 29, 40}, {0, 10, 20}, "30"},
         }) {
        SCOPED_TRACE(row.name);
        const TestFolder folder;
        TakeOnPaper take(folder / "a.mov");
        ASSERT_TRUE(take.start(row.sessionStart));
        std::size_t taken = 0;
        for (const std::int64_t units : row.given)
            taken += take.append(paintedPicture(take.settings, 90, 128, 128), units);
        EXPECT_EQ(taken, row.expected.size());
        take.writer->finishWriting();
        const MovieProbe movie(folder / "a.mov");
        EXPECT_EQ(movie.times(), row.expected);
        EXPECT_EQ(movie.videoStream()["duration_ts"], row.duration);
    }
}

TEST(MovieWriterTest, fullQueueRefusesRecoversAndGivesEverythingBack) {
    const TestFolder folder;
    const VideoInputSettings settings{1920, 1080, 2'000'000, 120, 60};
    TakeOnPaper take(folder / "a.mov", settings);
    ASSERT_TRUE(take.start());
    auto* pool = take.adaptor->pixelBufferPool();
    const auto countAll = [&] {
        std::vector<PixelBufferRef> all;
        while (auto buffer = pool->take()) all.push_back(std::move(buffer));
        return all.size();
    };
    const std::size_t limit = countAll();
    EXPECT_GE(limit, 10u);
    // An unchanged picture may be given again.
    const auto picture = paintedPicture(settings, 120, 128, 128, 5);
    Times taken;
    std::int64_t units = 0;
    const auto all = BlockSet::all(settings.width, settings.height);
    for (; units < 1000 && take.adaptor->append(picture, {units, 600}, all); units += 10)
        taken.push_back(units);
    ASSERT_GE(units, 80);
    ASSERT_LT(units, 1000);
    for (int i = 0; i < 20; ++i, units += 10) {
        PixelBufferRef buffer;
        ASSERT_TRUE(waitUntil([&] { return bool{buffer = pool->take()}; }));
        EXPECT_TRUE(take.append(buffer, units + 5));
        taken.push_back(units + 5);
    }
    take.writer->finishWriting();
    EXPECT_EQ(MovieProbe(folder / "a.mov").times(), taken);
    EXPECT_EQ(countAll(), limit);
}

TEST(MovieWriterTest, filesAndSoundsMayBeLarge) {
    constexpr std::uint64_t kFar = 5'000'000'000;
    const std::string far("\0\0\0\1\x2a\5\xf2\0", 8);
    const auto header = mediaBoxHeader(kFar);
    EXPECT_EQ(std::string(header.begin(), header.end()), std::string("\0\0\0\1mdat", 8) + far);
    const TrackFormat format = avcTrackFormat(kSmallVideo, {});
    SampleTable samples;
    samples.addChunk(kFar, 0, std::array{SampleRecord{100, 10, true}});
    const auto tables = completeMovie(std::array{MovieTrack{format, samples}});
    // More than a day of sound.
    const TrackFormat sound = aacTrackFormat({2, 192'000}, {}, 0);
    // QuickTime's sound description ends with a box of eight bytes without a type.
    const std::vector<std::uint8_t> terminator{0, 0, 0, 8, 0, 0, 0, 0};
    EXPECT_TRUE(std::ranges::equal(std::span(sound.sampleEntry).last(8), terminator));
    SampleTable day;
    day.addChunk(0, 0, std::array{SampleRecord{9, 4'000'000'000, true}, SampleRecord{9, 800'000'000, true}});
    const auto long64 = completeMovie(std::array{MovieTrack{sound, day}});
    EXPECT_TRUE(std::string(long64.begin(), long64.end())
                    .contains(std::string("\0\0\xbb\x80\0\0\0\1\x1e\x1a\x30\0", 12)));
    EXPECT_TRUE(
        std::string(tables.begin(), tables.end()).contains(std::string("co64\0\0\0\0\0\0\0\1", 12) + far));
}

}  // namespace
}  // namespace kasto
