#include "linux/ffmpeg/FfmpegExports.h"
#include "movie/writer/TakeOnPaper.h"
#include "support/MovieProbe.h"
#include "support/SmallFileSystem.h"
#include "support/TestFolder.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace kasto::ffmpeg {
namespace {

using namespace test;

class FfmpegExportsTest : public testing::Test {
protected:
    // A movie as a take makes it: H.264 High with BT.709 tags and two AAC tracks.
    void SetUp() override {
        const std::string make =
            "ffmpeg -v error -f lavfi -i testsrc2=size=320x180:rate=60:duration=3"
            " -f lavfi -i sine=frequency=440:sample_rate=48000:duration=3"
            " -map 0 -map 1 -map 1 -c:v libx264 -pix_fmt yuv420p -preset veryfast"
            " -colorspace bt709 -color_primaries bt709 -color_trc bt709"
            " -c:a aac -ac:a:0 2 -ac:a:1 1 -metadata:s:a:0 language=eng -metadata:s:a:1 language=ger '";
        ASSERT_EQ(outputOf(make + movie.string() + "' 2>&1"), "");
    }

    Result<void> exportTo(const std::filesystem::path& mp4) {
        return FfmpegExports().makePassthroughSession(movie).value()->exportMpeg4(mp4);
    }

    const TestFolder folder;
    const std::filesystem::path movie = folder / "kasto-20261122-120000.mov";
};

TEST_F(FfmpegExportsTest, keepsEverySampleAndTag) {
    const auto mp4 = folder / "kasto-20261122-120000.mp4";
    const auto exported = exportTo(mp4);
    ASSERT_TRUE(exported) << exported.error().description;

    // An undetermined language is written out in the one container and left out in the other.
    const auto contents = [](const std::filesystem::path& file) {
        return outputOf(
            "ffprobe -v error -show_packets -show_streams -show_data_hash sha256 -show_entries"
            " packet=stream_index,pts_time,duration_time,flags,data_hash:stream=index,codec_name,"
            "profile,channels,color_range,color_space,color_primaries,color_transfer"
            ":stream_tags=language -of compact '" +
            file.string() + "' 2>&1 | sed 's/.tag:language=und//' | sort");
    };
    const auto before = contents(movie);
    EXPECT_GT(std::ranges::count(before, '\n'), 400);
    EXPECT_NE(before.find("color_space=bt709"), before.npos);
    EXPECT_NE(before.find("language=ger"), before.npos);
    EXPECT_EQ(contents(mp4), before);

    const auto bytes = readFile(mp4);
    EXPECT_LT(bytes.find("moov"), bytes.find("mdat")) << "the index comes first, for the web";
    EXPECT_EQ(MovieProbe(mp4).complaints(), "");
}

// Pictures the encoder never made, repeats and patches, are samples like any other.
TEST_F(FfmpegExportsTest, keepsPicturesThatRepeatOrPatch) {
    const auto recorded = folder / "still.mov";
    TakeOnPaper take(recorded);
    ASSERT_TRUE(take.start());
    std::int64_t tick = 0;
    for (int change = 0; change < 6; ++change) {
        const auto picture = paintedPicture(take.settings, 120, 110, 140, 1);
        for (int y = 0; y < 8; ++y) picture->plane(0).data[y * picture->plane(0).strideBytes + change] = 235;
        for (int stays = 0; stays < 30; ++stays) ASSERT_TRUE(take.append(picture, 10 * tick++));
    }
    take.writer->finishWriting();
    const auto mp4 = folder / "still.mp4";
    ASSERT_TRUE(FfmpegExports().makePassthroughSession(recorded).value()->exportMpeg4(mp4));
    const auto shown = [](const std::filesystem::path& file) {
        return outputOf("ffmpeg -v warning -xerror -i '" + file.string() +
                        "' -f framemd5 - 2>&1 | grep -v '#'");
    };
    EXPECT_EQ(shown(mp4), shown(recorded));
    EXPECT_EQ(std::ranges::count(shown(mp4), '\n'), tick);
}

TEST_F(FfmpegExportsTest, failuresSayWhy) {
    const auto file = folder / "text.mov";
    EXPECT_FALSE(FfmpegExports().makePassthroughSession(file));
    writeFile(file, "this is not a movie at all");
    const auto text = FfmpegExports().makePassthroughSession(file);
    ASSERT_FALSE(text);
    EXPECT_TRUE(text.error().description.starts_with(file.string())) << text.error().description;

    const SmallFileSystem small("64k");
    if (!small) GTEST_SKIP() << "no right to mount a file system";
    // An export that was killed where files without a name are not to be had.
    writeFile(small.path() / ".kasto-old.mp4.part", "half a movie");
    const auto exported = exportTo(small.path() / "a.mp4");
    ASSERT_FALSE(exported);
    EXPECT_TRUE(exported.error().description.ends_with("No space left on device"));
    EXPECT_TRUE(std::filesystem::is_empty(small.path())) << "neither half a movie nor the leftover";
}

}  // namespace
}  // namespace kasto::ffmpeg
