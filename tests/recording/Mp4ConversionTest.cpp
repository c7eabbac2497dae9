#include "recording/Mp4Conversion.h"
#include "support/FakeDesktop.h"
#include "support/LogLines.h"

#include <gtest/gtest.h>

namespace kasto {
namespace {

// The movie goes only once there is an MP4 in its place, and of a failed one nothing stays.
TEST(Mp4ConversionTest, LeavesOneFileWhateverHappens) {
    struct Row {
        bool refused;
        Result<void> result;
        std::string movie, mp4, log;  // what the files hold afterwards, and what is told
    };
    const Row rows[] = {
        {false, {}, "", "rewrapped", "converted → kasto-1.mp4"},
        {false, failure("disk is full"), "movie", "", "mp4 convert failed: disk is full — kept mov"},
        {false, failure(""), "movie", "", "mp4 convert failed: unknown — kept mov"},
        {true, {}, "movie", "another take", "mp4 convert: no export session — kept mov"},
    };
    for (const Row& row : rows) {
        const test::LogLines log;
        const test::TestFolder folder;
        const auto movie = folder / "kasto-1.mov", mp4 = folder / "kasto-1.mp4";
        test::writeFile(movie, "movie");
        test::writeFile(mp4, "another take");
        test::FakeMovieExports exports;
        exports.refused = row.refused;
        exports.result = row.result;
        EXPECT_EQ(convertToMP4(exports, movie), row.movie.empty() ? std::optional(mp4) : std::nullopt);
        EXPECT_EQ(test::readFile(movie), row.movie);
        EXPECT_EQ(test::readFile(mp4), row.mp4);
        EXPECT_EQ(log.all(), std::vector{"kasto: " + row.log});
    }
}

}  // namespace
}  // namespace kasto
