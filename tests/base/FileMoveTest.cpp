#include "base/files/FileMove.h"
#include "base/files/Files.h"
#include "support/SmallFileSystem.h"
#include "support/TestFolder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <optional>
#include <string>
#include <thread>

namespace kasto {
namespace {

namespace fs = std::filesystem;
using test::TestFolder;
using test::writeFile;

std::ptrdiff_t entries(const fs::path& folder) { return std::distance(fs::directory_iterator(folder), {}); }

// Moves a take into the folder, then tries to move another over it.
void expectMovesOnce(const fs::path& destination) {
    const TestFolder folder;
    const auto source = folder / "a.mov";
    std::string take(3'000'017, 'x');
    for (std::size_t i = 0; i < take.size(); i += 977) take[i] = static_cast<char>(i);
    writeFile(source, take);
    ASSERT_TRUE(moveFile(source, folder / "." / "a.mov")) << "it is there already";
    ASSERT_TRUE(moveFile(source, destination / "b.mov"));
    EXPECT_FALSE(fs::exists(source));

    writeFile(source, "another");
    const auto again = moveFile(source, destination / "b.mov");
    ASSERT_FALSE(again);
    EXPECT_EQ(again.error().code, EEXIST);
    EXPECT_EQ(test::readFile(source), "another");
    EXPECT_TRUE(test::readFile(destination / "b.mov") == take);
    EXPECT_EQ(entries(destination), 1) << "a refused copy leaves nothing behind";
}

TEST(FileMoveTest, RenamesOnOneFileSystemAndTellsWhatIsMissing) {
    const TestFolder folder;
    expectMovesOnce(folder.path());
    const auto noSource = moveFile(folder / "none.mov", folder / "c.mov");
    ASSERT_FALSE(noSource);
    EXPECT_NE(noSource.error().description.find("none.mov: No such file"), std::string::npos);
}

TEST(FileMoveTest, CopiesAcrossFileSystemsAndKeepsTheSourceWhereThereIsNoSpace) {
    const test::SmallFileSystem small("4m");
    if (!small) GTEST_SKIP() << "no right to mount a file system";
    expectMovesOnce(small.path());
    const TestFolder folder;
    writeFile(folder / "a.mov", std::string(2'000'000, 'x'));
    const auto moved = moveFile(folder / "a.mov", small.path() / "a.mov");
    ASSERT_FALSE(moved);
    EXPECT_EQ(moved.error().code, ENOSPC);
    EXPECT_EQ(fs::file_size(folder / "a.mov"), 2'000'000u);
    EXPECT_EQ(entries(small.path()), 1);
}

// The source is a pipe, so that the test decides when the copy is in progress and when it ends.
TEST(FileMoveTest, ACopyIsInvisibleUntilItIsCompleteAndAnIncompleteOneIsAnError) {
    const test::SmallFileSystem small("4m");
    if (!small) GTEST_SKIP() << "no right to mount a file system";
    const TestFolder folder;
    const auto source = folder / "a.mov";
    ASSERT_EQ(mkfifo(source.c_str(), 0600), 0);
    Result<void> moved;
    std::thread mover([&] { moved = moveFile(source, small.path() / "a.mov"); });
    std::optional<FileDescriptor> pipe(open(source.c_str(), O_WRONLY));
    const bool isCopying = writeAll(*pipe, std::string(1'000'000, 'x')).has_value();
    const auto inProgress = entries(small.path());
    pipe.reset();
    mover.join();
    EXPECT_TRUE(isCopying);
    EXPECT_EQ(inProgress, 0) << "nothing is left of a copy whose process is killed";
    EXPECT_FALSE(moved) << "the pipe's own size is not that of the copy";
    EXPECT_TRUE(fs::exists(source));
    EXPECT_EQ(entries(small.path()), 0);
}

}  // namespace
}  // namespace kasto
