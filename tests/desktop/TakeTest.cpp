// Whole takes on a private desktop, and the movies they leave.

#include "demo/ColourChart.h"
#include "desktop/DesktopSession.h"
#include "support/MovieProbe.h"
#include "support/WaitUntil.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <csignal>
#include <thread>

namespace kasto::test {
namespace {

namespace chart = demo::chart;

// Some takes have to be of a certain length. This waits for nothing else: what a take must show by its end is
// waited for.
void letItRecordFor(double seconds) { std::this_thread::sleep_for(std::chrono::duration<double>(seconds)); }

class TakeTest : public testing::Test {
protected:
    // The tile would hide what is looked at.
    TakeTest() { desktop.setOptions(R"({"pipEnabled": false})"); }

    DesktopSession desktop;
};

// How far the pixel of a picture is from a colour.
int errorAt(const std::vector<std::uint8_t>& picture, std::size_t x, std::size_t y,
            const demo::Colour& wanted) {
    const auto* shown = &picture.at(3 * (y * chart::kScreenWidth + x));
    return std::max({std::abs(shown[0] - wanted.red), std::abs(shown[1] - wanted.green),
                     std::abs(shown[2] - wanted.blue)});
}

// Tolerates what lossy coding does, and no more: a wrong colour matrix or range is off by much more.
int worstPatchError(const std::vector<std::uint8_t>& picture) {
    int worst = 0;
    for (std::size_t i = 0; i < chart::kPatches.size(); ++i)
        worst = std::max(
            worst,
            errorAt(picture, i % chart::kColumns * chart::kPatchWidth + chart::kPatchWidth / 2,
                    i / chart::kColumns * chart::kPatchHeight + chart::kPatchHeight / 2, chart::kPatches[i]));
    return worst;
}

TEST_F(TakeTest, recordsTheScreenInItsColoursAtASteadyPace) {
    ASSERT_EQ(desktop.xdotool({"mousemove", "700", "700"}), 0);
    const auto client = desktop.showChart();
    const auto kasto = desktop.startKasto();
    ASSERT_TRUE(desktop.startTake());
    letItRecordFor(3);
    EXPECT_EQ(desktop.command("record"), 0);
    EXPECT_EQ(desktop.command("toggle"), 0);
    ASSERT_TRUE(desktop.waitForLog(" stopped → kasto-"));
    EXPECT_EQ(desktop.timesLogged(" recording "), 1u);

    const MovieProbe movie(desktop.movies().at(0));
    auto stream = movie.videoStream();
    EXPECT_EQ(stream["codec_name"], "h264");
    EXPECT_EQ(stream["profile"], "High");
    EXPECT_EQ(stream["width"] + "x" + stream["height"], "1280x720");
    EXPECT_EQ(stream["time_base"], "1/600");
    for (const auto* tag : {"color_space", "color_transfer", "color_primaries"})
        EXPECT_EQ(stream[tag], "bt709") << tag;
    EXPECT_EQ(stream["color_range"], "tv");
    EXPECT_EQ(movie.complaints(), "");

    const auto picture = movie.pictureAt(1.5);
    ASSERT_EQ(picture.size(), std::size_t{3} * chart::kScreenWidth * chart::kScreenHeight);
    EXPECT_LE(worstPatchError(picture), 2);

    // At 60 pictures a second a tick lasts 10 units. A busy machine may lose a few.
    const auto times = movie.times();
    ASSERT_GT(times.size(), 100u);
    EXPECT_EQ(times.front(), 0);
    std::size_t unsteady = 0;
    std::size_t holes = 0;
    for (std::size_t i = 1; i < times.size(); ++i) {
        const auto spacing = times[i] - times[i - 1];
        EXPECT_GT(spacing, 0);
        unsteady += spacing < 8 || spacing > 12;
        holes += spacing > 25;
    }
    EXPECT_LE(unsteady, times.size() / 2);
    EXPECT_LE(holes, times.size() / 10);
}

TEST_F(TakeTest, showsTheWebcamInItsTileUntilItIsUnplugged) {
    desktop.setOptions(R"({"roundCamera": false})");
    auto webcam = desktop.start({TEST_WEBCAM, "cam", "Webcam", "YUY2", "640x480", "30"});
    const auto kasto = desktop.startKasto();
    ASSERT_TRUE(desktop.startTake());
    letItRecordFor(1.5);
    webcam.kill();
    ASSERT_TRUE(desktop.waitForLog("camera delivers no pictures"));
    letItRecordFor(0.5);
    ASSERT_TRUE(desktop.stopTake());

    // The tile is 307.2 x 230.4 wide and high, 24 from the edges of the movie.
    const MovieProbe movie(desktop.movies().at(0));
    const auto before = movie.pictureAt(1.2);
    EXPECT_LE(errorAt(before, 958, 475, {200, 30, 20}), 12);
    EXPECT_LE(errorAt(before, 1247, 687, {20, 30, 200}), 12);
    const auto after = movie.pictureAt(movie.lastPictureS() - 0.1);
    for (const auto& [x, y] : {std::pair{958u, 475u}, {1247u, 687u}})
        EXPECT_LE(errorAt(after, x, y, {23, 23, 28}), 3);
}

TEST_F(TakeTest, hasSilentTracksWithoutAMediaServer) {
    desktop.setOptions(R"({"pipEnabled": false, "captureSystemSound": true, "captureMic": true})");
    const auto client = desktop.showChart();
    const auto kasto = desktop.startKasto({"PIPEWIRE_REMOTE=none"});
    ASSERT_TRUE(desktop.startTake());
    letItRecordFor(1.5);
    ASSERT_TRUE(desktop.stopTake());
    const MovieProbe movie(desktop.movies().at(0));
    EXPECT_EQ(movie.complaints(), "");
    const auto sounds = movie.soundDurationsS();
    ASSERT_EQ(sounds.size(), 2u);
    for (const double durationS : sounds) EXPECT_NEAR(durationS, movie.lastPictureS(), 0.1);
}

TEST_F(TakeTest, leavesAPlayableMovieHoweverItEnds) {
    const auto client = desktop.showChart();
    constexpr int kXServerDies = 0;
    std::size_t takes = 0;
    for (const int signal : {SIGTERM, SIGINT, SIGKILL, kXServerDies}) {
        auto kasto = desktop.startKasto();
        ASSERT_TRUE(desktop.startTake(++takes));
        const auto newest = [&] { return MovieProbe(desktop.movies().back()); };
        letItRecordFor(1.2);
        ASSERT_TRUE(signal != SIGKILL || waitUntil([&] { return newest().times().size() > 30; }));
        signal == kXServerDies ? desktop.killXServer() : void(::kill(kasto.pid(), signal));
        const int status = kasto.wait();
        ASSERT_EQ(desktop.movies().size(), takes);
        EXPECT_GT(newest().times().size(), 20u) << signal;
        EXPECT_LE(worstPatchError(newest().pictureAt(0.5)), 2) << signal;
        if (signal == SIGKILL) continue;
        EXPECT_EQ(newest().complaints(), "") << signal;
        EXPECT_EQ(status, signal == kXServerDies ? 1 : 0);
    }
    EXPECT_EQ(desktop.timesLogged(" stopped → kasto-"), takes - 1);
}

}  // namespace
}  // namespace kasto::test
