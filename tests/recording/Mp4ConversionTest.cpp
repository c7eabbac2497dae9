#include "base/DebugLog.h"
#include "recording/Mp4Conversion.h"
#include "support/FakeDesktop.h"
#include "support/TestFolder.h"

#include <gtest/gtest.h>

namespace kasto {
namespace {

using test::readFile;
using test::TestFolder;
using test::writeFile;

class Mp4ConversionTest : public testing::Test {
protected:
    Mp4ConversionTest() {
        std::filesystem::create_directories(DebugLog::fileLocation().parent_path());
        std::filesystem::remove(DebugLog::fileLocation());
        writeFile(movie, "movie");
    }
    bool logged(const std::string& line) {
        DebugLog::flush();
        return readFile(DebugLog::fileLocation()).find(line + "\n") != std::string::npos;
    }

    TestFolder folder;
    std::filesystem::path movie = folder / "kasto-20261116-184200.mov";
    std::filesystem::path mp4 = folder / "kasto-20261116-184200.mp4";
    test::FakeMovieExports exports;
};

TEST_F(Mp4ConversionTest, LeavesOnlyTheNewFile) {
    writeFile(mp4, "stale");
    EXPECT_EQ(convertToMP4(exports, movie), mp4);
    EXPECT_FALSE(std::filesystem::exists(movie));
    EXPECT_EQ(readFile(mp4), "rewrapped");
    EXPECT_TRUE(logged("converted → kasto-20261116-184200.mp4"));
}

TEST_F(Mp4ConversionTest, AFailedExportKeepsTheMovie) {
    exports.result = failure("disk is full");
    EXPECT_EQ(convertToMP4(exports, movie), std::nullopt);
    EXPECT_EQ(readFile(movie), "movie");
    EXPECT_FALSE(std::filesystem::exists(mp4));
    EXPECT_TRUE(logged("mp4 convert failed: disk is full — kept mov"));

    exports.result = failure("");
    EXPECT_EQ(convertToMP4(exports, movie), std::nullopt);
    EXPECT_TRUE(logged("mp4 convert failed: unknown — kept mov"));
}

TEST_F(Mp4ConversionTest, ARefusedSessionTouchesNothing) {
    exports.refused = true;
    writeFile(mp4, "another take");
    EXPECT_EQ(convertToMP4(exports, movie), std::nullopt);
    EXPECT_EQ(readFile(movie), "movie");
    EXPECT_EQ(readFile(mp4), "another take");
    EXPECT_TRUE(logged("mp4 convert: no export session — kept mov"));
}

}  // namespace
}  // namespace kasto
