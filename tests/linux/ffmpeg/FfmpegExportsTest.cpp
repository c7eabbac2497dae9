#include "linux/ffmpeg/FfmpegExports.h"
#include "support/SmallFileSystem.h"
#include "support/TestFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>

namespace kasto {
namespace {

using test::readFile;
using test::TestFolder;

int runCommand(const std::string& command) { return std::system(command.c_str()); }

std::string outputOf(const TestFolder& folder, const std::string& command) {
    const auto file = folder / "output.txt";
    EXPECT_EQ(runCommand(command + " > '" + file.string() + "' 2>&1"), 0) << command;
    return readFile(file);
}

// A movie as a take makes it: H.264 High with BT.709 tags and two AAC tracks.
std::filesystem::path makeMovie(const TestFolder& folder) {
    const auto movie = folder / "kasto-20261122-120000.mov";
    const auto made = runCommand(
        "ffmpeg -v error -f lavfi -i testsrc2=size=320x180:rate=60:duration=3"
        " -f lavfi -i sine=frequency=440:sample_rate=48000:duration=3"
        " -f lavfi -i sine=frequency=880:sample_rate=48000:duration=3"
        " -map 0 -map 1 -map 2 -c:v libx264 -pix_fmt yuv420p -profile:v high -preset veryfast -x264-params"
        " colorprim=bt709:transfer=bt709:colormatrix=bt709 -colorspace bt709 -color_primaries bt709 "
        "-color_trc bt709"
        " -c:a aac -ac:a:0 2 -ac:a:1 1 -metadata:s:a:0 language=eng -metadata:s:a:1 language=ger "
        "-metadata:s:v:0 language=fre -y '" +
        movie.string() + "'");
    EXPECT_EQ(made, 0);
    return movie;
}

std::string packetHashes(const TestFolder& folder, const std::filesystem::path& movie) {
    return outputOf(folder,
                    "ffprobe -v error -show_packets -show_data_hash sha256 -show_entries"
                    " packet=stream_index,pts_time,duration_time,flags,data_hash -of csv '" +
                        movie.string() + "' | sort");
}

TEST(FfmpegExportsTest, KeepsEverySampleAndTag) {
    const TestFolder folder;
    const auto movie = makeMovie(folder);
    const auto mp4 = folder / "kasto-20261122-120000.mp4";
    FfmpegExports exports;
    auto session = exports.makePassthroughSession(movie);
    ASSERT_TRUE(session) << session.error().description;
    const auto exported = (*session)->exportMpeg4(mp4);
    ASSERT_TRUE(exported) << exported.error().description;

    const auto before = packetHashes(folder, movie);
    EXPECT_GT(std::ranges::count(before, '\n'), 400);
    EXPECT_EQ(packetHashes(folder, mp4), before);

    // Undetermined, the video's language, is written out in the one container and left out in the other.
    const std::string streams =
        "ffprobe -v error -show_entries stream=index,codec_name,profile,channels,color_range,color_space,"
        "color_primaries,color_transfer:stream_tags=language -of compact '";
    auto tags = outputOf(folder, streams + mp4.string() + "'");
    if (const auto at = tags.find("|tag:language=und"); at != tags.npos) tags.erase(at, 17);
    EXPECT_EQ(tags, outputOf(folder, streams + movie.string() + "'"));
    EXPECT_NE(tags.find("color_space=bt709"), std::string::npos);
    EXPECT_NE(tags.find("ger"), std::string::npos);

    const auto bytes = readFile(mp4);
    const auto index = bytes.find("moov");
    ASSERT_NE(index, std::string::npos);
    EXPECT_LT(index, bytes.find("mdat")) << "the index comes first, for the web";
    EXPECT_EQ(outputOf(folder, "ffmpeg -v warning -xerror -i '" + mp4.string() + "' -f null -"), "");
}

TEST(FfmpegExportsTest, RefusesWhatIsNoMovie) {
    const TestFolder folder;
    FfmpegExports exports;
    test::writeFile(folder / "text.mov", "this is not a movie at all");
    const auto text = exports.makePassthroughSession(folder / "text.mov");
    ASSERT_FALSE(text);
    EXPECT_NE(text.error().description.find("text.mov"), std::string::npos);
    EXPECT_FALSE(exports.makePassthroughSession(folder / "none.mov"));
}

TEST(FfmpegExportsTest, AFullDiskIsAnError) {
    const test::SmallFileSystem small("64k");
    if (!small) GTEST_SKIP() << "no right to mount a file system";
    const TestFolder folder;
    const auto movie = makeMovie(folder);
    FfmpegExports exports;
    auto session = exports.makePassthroughSession(movie);
    ASSERT_TRUE(session);
    const auto exported = (*session)->exportMpeg4(small.path() / "a.mp4");
    ASSERT_FALSE(exported);
    EXPECT_NE(exported.error().description.find("No space left on device"), std::string::npos)
        << exported.error().description;
}

}  // namespace
}  // namespace kasto
