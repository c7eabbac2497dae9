#include "linux/ffmpeg/MovieProbe.h"
#include "linux/ffmpeg/TakeOnPaper.h"
#include "support/TestFolder.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kasto {
namespace {

using namespace test;

constexpr int kPicturesPerFragment = 30;

TEST(InterruptedMovieTest, killedTakePlaysUpToItsLastFragment) {
    const TestFolder folder;
    const auto file = folder / "a.mov";
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        TakeOnPaper take(file, smallVideo(), {10 * kPicturesPerFragment, 600});
        if (!take.start()) _exit(1);
        while (true) take.appendMoving(1);
    }
    const bool began = eventually([&] { return wholeFragments(file) >= 4; });
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    ASSERT_TRUE(began);

    EXPECT_TRUE(outermostBoxes(file).starts_with("ftyp free moov moof mdat")) << outermostBoxes(file);
    const auto movie = probeMovie(file);
    const auto whole = static_cast<std::size_t>(wholeFragments(file) * kPicturesPerFragment);
    ASSERT_GE(movie.pictures.size(), whole);
    EXPECT_EQ(movie.profile, "High");
    for (std::size_t i = 0; i < whole; ++i) {
        EXPECT_EQ(movie.pictures[i].timeUnits, static_cast<std::int64_t>(i) * 10);
        // Players can begin at any fragment.
        EXPECT_TRUE(movie.pictures[i].isKey || i % kPicturesPerFragment != 0) << "picture " << i;
    }
}

}  // namespace
}  // namespace kasto
