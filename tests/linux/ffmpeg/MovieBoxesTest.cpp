#include "linux/ffmpeg/FragmentBoxes.h"
#include "linux/ffmpeg/MovieProbe.h"
#include "linux/ffmpeg/TakeOnPaper.h"
#include "linux/ffmpeg/X264Encoder.h"
#include "support/TestFolder.h"

#include <gtest/gtest.h>

#include <array>
#include <fstream>

namespace kasto {
namespace {

using namespace test;

TEST(MovieBoxesTest, samplesBeyondFourGigabytesAreFound) {
    const TestFolder folder;
    constexpr std::uint64_t kFar = 5'000'000'000;
    std::vector<std::uint8_t> sample;
    const PictureSink keep = [&](const EncodedPicture& made) {
        sample.assign(made.data.begin(), made.data.end());
    };
    const auto encoder = openX264Encoder(smallVideo(), "ultrafast").value();
    ASSERT_TRUE(encoder->encode(paintedPicture(smallVideo(), 77, 128, 128), 0, true, keep));
    ASSERT_TRUE(encoder->finish(keep));

    const TrackFormat format = avcTrackFormat(smallVideo(), encoder->decoderConfiguration());
    SampleTable samples;
    const std::array tracks{MovieTrack{format, samples}};
    const auto head = movieHead(tracks);
    samples.addChunk(kFar, 0, std::array{SampleRecord{static_cast<std::uint32_t>(sample.size()), 10, true}});
    {
        std::ofstream out(folder / "a.mov", std::ios::binary);
        const auto put = [&](std::uint64_t at, const std::vector<std::uint8_t>& bytes) {
            out.seekp(static_cast<std::streamoff>(at));
            out.write(reinterpret_cast<const char*>(bytes.data()),
                      static_cast<std::streamsize>(bytes.size()));
        };
        put(0, head.bytes);
        put(head.placeholderOffset, mediaBoxHeader(kFar + sample.size() - head.placeholderOffset));
        put(kFar, sample);
        put(kFar + sample.size(), completeMovie(tracks));
    }
    const auto movie = probeMovie(folder / "a.mov");
    ASSERT_EQ(movie.pictures.size(), 1u);
    EXPECT_NEAR(movie.pictures[0].luma, 77, 1);
}

}  // namespace
}  // namespace kasto
