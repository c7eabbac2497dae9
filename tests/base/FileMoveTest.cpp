#include "base/FileMove.h"
#include "support/SmallFileSystem.h"
#include "support/TestFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <string>

namespace kasto {
namespace {

using test::readFile;
using test::SmallFileSystem;
using test::TestFolder;
using test::writeFile;

std::ptrdiff_t entries(const std::filesystem::path& folder) {
    return std::distance(std::filesystem::directory_iterator(folder), {});
}

TEST(FileMoveTest, RenamesOnOneFileSystem) {
    const TestFolder folder;
    writeFile(folder / "a.mov", "take");
    ASSERT_TRUE(moveFile(folder / "a.mov", folder / "b.mov"));
    EXPECT_EQ(readFile(folder / "b.mov"), "take");
    EXPECT_FALSE(std::filesystem::exists(folder / "a.mov"));
}

TEST(FileMoveTest, NeverOverwrites) {
    const TestFolder folder;
    writeFile(folder / "a.mov", "new");
    writeFile(folder / "b.mov", "old");
    const auto moved = moveFile(folder / "a.mov", folder / "b.mov");
    ASSERT_FALSE(moved);
    EXPECT_EQ(moved.error().code, EEXIST);
    EXPECT_EQ(readFile(folder / "a.mov"), "new");
    EXPECT_EQ(readFile(folder / "b.mov"), "old");
}

TEST(FileMoveTest, TellsWhatIsMissing) {
    const TestFolder folder;
    const auto noSource = moveFile(folder / "none.mov", folder / "b.mov");
    ASSERT_FALSE(noSource);
    EXPECT_NE(noSource.error().description.find("none.mov: No such file"), std::string::npos);
    writeFile(folder / "a.mov", "take");
    const auto noFolder = moveFile(folder / "a.mov", folder / "nowhere/b.mov");
    ASSERT_FALSE(noFolder);
    EXPECT_NE(noFolder.error().description.find("nowhere/b.mov: No such file"), std::string::npos);
    EXPECT_EQ(readFile(folder / "a.mov"), "take");
}

TEST(FileMoveTest, CopiesAcrossFileSystems) {
    const SmallFileSystem small("8m");
    if (!small) GTEST_SKIP() << "no right to mount a file system";
    const TestFolder folder;
    std::string take(3'000'017, 'x');
    for (std::size_t i = 0; i < take.size(); i += 977) take[i] = static_cast<char>(i);
    writeFile(folder / "a.mov", take);
    chmod((folder / "a.mov").c_str(), 0640);

    ASSERT_TRUE(moveFile(folder / "a.mov", small.path() / "a.mov"));
    EXPECT_TRUE(readFile(small.path() / "a.mov") == take);
    EXPECT_FALSE(std::filesystem::exists(folder / "a.mov"));
    EXPECT_EQ(entries(small.path()), 1);

    writeFile(folder / "a.mov", "another");
    const auto again = moveFile(folder / "a.mov", small.path() / "a.mov");
    ASSERT_FALSE(again);
    EXPECT_EQ(again.error().code, EEXIST);
    EXPECT_TRUE(readFile(small.path() / "a.mov") == take);
    EXPECT_EQ(readFile(folder / "a.mov"), "another");
    EXPECT_EQ(entries(small.path()), 1) << "a refused copy leaves nothing behind";
}

TEST(FileMoveTest, AFullDestinationKeepsTheSource) {
    const SmallFileSystem small("1m");
    if (!small) GTEST_SKIP() << "no right to mount a file system";
    const TestFolder folder;
    writeFile(folder / "a.mov", std::string(2'000'000, 'x'));
    const auto moved = moveFile(folder / "a.mov", small.path() / "a.mov");
    ASSERT_FALSE(moved);
    EXPECT_EQ(moved.error().code, ENOSPC);
    EXPECT_EQ(std::filesystem::file_size(folder / "a.mov"), 2'000'000u);
    EXPECT_EQ(entries(small.path()), 0);
}

}  // namespace
}  // namespace kasto
