// The live overlay over a private desktop: seen on the screen, never in the movie, never in the way.

#include "base/Geometry.h"
#include "demo/ColourChart.h"
#include "desktop/DesktopSession.h"
#include "support/MovieProbe.h"
#include "support/WaitUntil.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>

namespace kasto::test {
namespace {

namespace chart = demo::chart;

using Picture = std::vector<std::uint8_t>;  // red, green, blue

class OverlayTest : public testing::TestWithParam<bool> {
protected:
    OverlayTest() {
        if (GetParam()) manager.emplace(desktop.startCompositingManager());
    }

    Picture screen() const {
        const auto file = desktop.home() / "screen.rgb";
        EXPECT_EQ(desktop.run({"ffmpeg", "-v", "error", "-y", "-f", "x11grab", "-draw_mouse", "0", "-i", "",
                               "-frames:v", "1", "-f", "rawvideo", "-pix_fmt", "rgb24", file}),
                  0);
        const auto text = readFile(file);
        return {text.begin(), text.end()};
    }

    // How many of these pixels have nearly the overlay's red, which nothing else has.
    static int redsIn(const Picture& picture, const PixelRect& rect) {
        int reds = 0;
        for (int y = rect.y; y < rect.maxY(); ++y)
            for (int x = rect.x; x < rect.maxX(); ++x) {
                const auto* pixel = &picture.at(3 * static_cast<std::size_t>(y * chart::kScreenWidth + x));
                reds += std::abs(pixel[0] - 235) < 30 && std::abs(pixel[1] - 66) < 30 &&
                        std::abs(pixel[2] - 77) < 30;
            }
        return reds;
    }

    DesktopSession desktop;
    std::optional<ChildProcess> manager;
    static constexpr PixelRect kWhole{0, 0, chart::kScreenWidth, chart::kScreenHeight};
    static constexpr PixelRect kTop{0, 2, chart::kScreenWidth, 2};
    static constexpr PixelRect kBottom{0, chart::kScreenHeight - 4, chart::kScreenWidth, 2};
};

TEST_P(OverlayTest, isOnTheScreenAndNotInTheMovie) {
    const auto kasto = desktop.startKasto();
    ASSERT_EQ(desktop.xdotool({"mousemove", "640", "300"}), 0);
    ASSERT_TRUE(desktop.startTake());
    // A full-screen window that appears later stays below the overlay.
    const auto client = desktop.showChart();
    ASSERT_TRUE(waitUntil([&] { return redsIn(screen(), kTop) > chart::kScreenWidth; }));
    // The chart stands still at the top of the screen and moves at the bottom.
    EXPECT_GT(redsIn(screen(), kBottom), chart::kScreenWidth);
    ASSERT_EQ(desktop.xdotool({"mousedown", "1"}), 0);
    EXPECT_TRUE(waitUntil([&] { return redsIn(screen(), {600, 260, 80, 80}) > 60; }));
    ASSERT_EQ(desktop.xdotool({"mouseup", "1"}), 0);
    EXPECT_TRUE(waitUntil([&] { return redsIn(screen(), {600, 260, 80, 80}) == 0; }));
    ASSERT_TRUE(desktop.stopTake());
    EXPECT_TRUE(waitUntil([&] { return redsIn(screen(), kWhole) == 0; }));

    const MovieProbe movie(desktop.movies().front());
    const double lastS = movie.lastPictureS() - 0.1;
    for (const double part : {0.0, 0.05, 0.2, 0.4, 0.7, 1.0}) {
        const auto picture = movie.pictureAt(part * lastS);
        EXPECT_EQ(redsIn(picture, kTop) + redsIn(picture, kBottom) + redsIn(picture, {1000, 38, 280, 30}), 0)
            << part;
    }
    // At the end of the movie the chart is complete, also where the overlay had its HUD: a white patch.
    const auto last = movie.pictureAt(lastS);
    for (int x = 1150; x < 1270; ++x)
        EXPECT_GE(last.at(3 * static_cast<std::size_t>(50 * chart::kScreenWidth + x)), 250) << x;
}

TEST_P(OverlayTest, letsPressesAndScrollsThrough) {
    const auto file = desktop.home() / "events";
    const auto client = desktop.start(
        {"sh", "-c", "exec xev -geometry 1200x680+20+10 -event button > '" + file.string() + "'"});
    ASSERT_EQ(desktop.xdotool({"search", "--sync", "--onlyvisible", "--name", "Event Tester"}), 0);
    const auto kasto = desktop.startKasto();
    ASSERT_TRUE(desktop.startTake());
    ASSERT_TRUE(waitUntil([&] { return redsIn(screen(), kTop) > chart::kScreenWidth; }));
    // On the heads-up display, and where nothing is drawn.
    for (const auto* x : {"1150", "600"})
        ASSERT_EQ(desktop.xdotool({"mousemove", x, "50", "click", "1", "click", "4"}), 0);
    EXPECT_TRUE(waitUntil([&] { return outputOf("grep -c ButtonPress " + file.string()) == "4\n"; }));
}

INSTANTIATE_TEST_SUITE_P(Desktops, OverlayTest, testing::Bool(),
                         [](const auto& info) { return info.param ? "Managed" : "Bare"; });

}  // namespace
}  // namespace kasto::test
