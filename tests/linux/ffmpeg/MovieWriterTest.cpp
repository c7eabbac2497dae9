#include "linux/ffmpeg/FragmentBoxes.h"
#include "linux/ffmpeg/TakeOnPaper.h"
#include "linux/ffmpeg/X264Encoder.h"
#include "support/MovieProbe.h"
#include "support/TestFolder.h"
#include "support/WaitUntil.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <fstream>

namespace kasto {
namespace {

using namespace test;
using Times = std::vector<std::int64_t>;

TEST(MovieWriterTest, completedMovieIsPlainAndDescribesItself) {
    const TestFolder folder;
    auto settings = kSmallVideo;
    settings.maxKeyFrameInterval = 17;
    TakeOnPaper take(folder / "a.mov", settings);
    ASSERT_TRUE(take.start());
    take.appendMoving(600);
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
    EXPECT_EQ(stream["profile"] + " " + stream["width"] + "x" + stream["height"], "High 320x180");
    for (const auto* tag : {"color_space", "color_transfer", "color_primaries"})
        EXPECT_EQ(stream[tag], "bt709") << tag;
    EXPECT_EQ(stream["color_range"] + " " + stream["chroma_location"], "tv center");
    EXPECT_EQ(stream["duration_ts"] + " of " + stream["time_base"], "6000 of 1/600");
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
}

TEST(MovieWriterTest, flatColoursStayWhatTheyAre) {
    const TestFolder folder;
    struct Row {
        int luma, cb, cr;
        std::array<int, 3> rgb;
    };
    const Row rows[] = {{16, 128, 128, {0, 0, 0}},   {235, 128, 128, {255, 255, 255}},
                        {63, 102, 240, {255, 0, 0}}, {173, 42, 26, {0, 255, 0}},
                        {32, 240, 118, {0, 0, 255}}, {126, 128, 128, {128, 128, 128}}};
    TakeOnPaper take(folder / "a.mov");
    ASSERT_TRUE(take.start());
    for (const auto& row : rows)
        for (int i = 0; i < 6; ++i)
            take.append(paintedPicture(take.settings, row.luma, row.cb, row.cr), take.nextUnits);
    take.writer->finishWriting();

    for (int i = 0; const auto& row : rows) {
        // The first and the last of its pictures.
        for (const double timeS : {i / 10.0, i / 10.0 + 0.08}) {
            const auto picture = MovieProbe(folder / "a.mov").pictureAt(timeS);
            for (std::size_t c = 0; c < 3; ++c) EXPECT_NEAR(picture.at(c), row.rgb[c], 2) << timeS;
        }
        ++i;
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

TEST(MovieWriterTest, fullQueueRefusesAndRecovers) {
    const TestFolder folder;
    auto settings = kSmallVideo;
    settings.width = 1920;
    settings.height = 1080;
    TakeOnPaper take(folder / "a.mov", settings);
    ASSERT_TRUE(take.start());
    // An unchanged picture may be given again.
    const auto picture = paintedPicture(settings, 120, 128, 128, 5);
    Times taken;
    std::int64_t units = 0;
    for (; units < 1000 && take.adaptor->append(picture, {units, 600}); units += 10) taken.push_back(units);
    ASSERT_GE(units, 80);
    ASSERT_LT(units, 1000);
    EXPECT_TRUE(take.append(picture, units + 5));
    taken.push_back(units + 5);
    take.writer->finishWriting();
    EXPECT_EQ(MovieProbe(folder / "a.mov").times(), taken);
}

TEST(MovieWriterTest, poolFeedsTheQueueAndGetsEverythingBack) {
    const TestFolder folder;
    TakeOnPaper take(folder / "a.mov");
    ASSERT_TRUE(take.start());
    const auto everything = [&] {
        std::vector<PixelBufferRef> all;
        while (auto buffer = take.adaptor->pixelBufferPool()->take()) all.push_back(std::move(buffer));
        return all.size();
    };
    const std::size_t limit = everything();
    EXPECT_GE(limit, 10u);
    for (PixelBufferRef buffer; take.nextUnits < 400; buffer = {}) {
        ASSERT_TRUE(waitUntil([&] { return bool{buffer = take.adaptor->pixelBufferPool()->take()}; }));
        EXPECT_TRUE(take.append(buffer, take.nextUnits));
    }
    take.writer->finishWriting();
    EXPECT_EQ(everything(), limit);
}

TEST(MovieWriterTest, samplesBeyondFourGigabytesAreFound) {
    const TestFolder folder;
    constexpr std::uint64_t kFar = 5'000'000'000;
    std::vector<std::uint8_t> sample;
    const PictureSink keep = [&](const EncodedPicture& made) {
        sample.assign(made.data.begin(), made.data.end());
    };
    const auto encoder = openX264Encoder(kSmallVideo, "ultrafast").value();
    ASSERT_TRUE(encoder->encode(paintedPicture(kSmallVideo, 235, 128, 128), 0, true, keep));
    ASSERT_TRUE(encoder->finish(keep));

    const TrackFormat format = avcTrackFormat(kSmallVideo, encoder->decoderConfiguration());
    SampleTable samples;
    const std::array tracks{MovieTrack{format, samples}};
    const auto head = movieHead(tracks);
    samples.addChunk(kFar, 0, std::array{SampleRecord{static_cast<std::uint32_t>(sample.size()), 10, true}});
    std::ofstream out(folder / "a.mov", std::ios::binary);
    const auto put = [&](std::uint64_t at, const std::vector<std::uint8_t>& bytes) {
        out.seekp(static_cast<std::streamoff>(at));
        std::ranges::copy(bytes, std::ostreambuf_iterator<char>(out));
    };
    put(0, head.bytes);
    put(head.placeholderOffset, mediaBoxHeader(kFar + sample.size() - head.placeholderOffset));
    put(kFar, sample);
    put(kFar + sample.size(), completeMovie(tracks));
    out.close();
    EXPECT_EQ(MovieProbe(folder / "a.mov").complaints(), "");
    EXPECT_EQ(MovieProbe(folder / "a.mov").pictureAt(0), std::vector<std::uint8_t>(320u * 180 * 3, 255));
}

}  // namespace
}  // namespace kasto
