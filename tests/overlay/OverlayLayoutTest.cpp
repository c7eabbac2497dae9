// Where the overlay's parts go, without painting any.

#include "overlay/DashedOutline.h"
#include "overlay/OverlayLayout.h"

#include <gtest/gtest.h>

#include <set>

namespace kasto::test {
namespace {

RenderSnapshot snapshotOf(double zoom, bool panned = false) {
    RenderSnapshot snapshot;
    snapshot.cropPx = {0, 0, 3840, 2160};
    snapshot.zoom = zoom;
    snapshot.panned = panned;
    return snapshot;
}

TEST(OverlayLayoutTest, tellsTimeZoomPanAndTracks) {
    const std::tuple<double, bool, int, std::string, std::string> rows[] = {
        {1.02, false, 59, " · mic", "● rec 0:59 · mic"},
        {2.34, true, 65, " · sys · mic", "● rec 1:05 · 2.3x · panned · sys · mic"},
        {8.0, false, 3725, "", "● rec 62:05 · 8.0x"},
    };
    for (const auto& [zoom, panned, elapsedS, suffix, text] : rows)
        EXPECT_EQ(layOut(snapshotOf(zoom, panned), 2, 2, elapsedS, suffix, {})->text, text);
}

TEST(OverlayLayoutTest, mapsCapturePixelsToTheScreen) {
    for (const auto& [sx, sy] : {std::pair{0, 2}, {2, -1}})
        EXPECT_EQ(layOut(snapshotOf(1), sx, sy, 0, "", {}), std::nullopt);
    auto zoomed = snapshotOf(1.5);
    zoomed.cropPx = {400, 300, 2560, 1440};
    zoomed.ripples.push_back({{100, 80}, 28, 0.5});
    zoomed.heldDisc = {{200, 160}, 32, 0.3};
    zoomed.camRect = Rect{3024, 1344, 768, 768};
    zoomed.camRound = true;
    const auto layout = *layOut(zoomed, 2, 4, 0, "", {100, 50});
    EXPECT_EQ(layout.marquee, (Rect{301, 126, 1278, 358}));
    EXPECT_EQ(layout.clicks, (std::vector<OverlayLayout::Circle>{{{150, 70}, 14}, {{200, 90}, 16}}));
    EXPECT_EQ(layout.camera, (OverlayLayout::Tile{{1612, 386, 384, 192}, 96}));

    const auto hud = layOutHud(1920, {200.4, 14.5});
    EXPECT_EQ(hud.background, (Rect{1920 - 217 - 14, 38, 217, 23}));
    EXPECT_EQ(hud.text, (Rect{1697, 38 + (23 - 14.5) / 2, 203, 15}));
}

using Pixels = std::set<std::pair<int, int>>;

Pixels pixelsOf(const auto& rects) {
    Pixels pixels;
    for (const PixelRect& rect : rects)
        for (int y = rect.y; y < rect.maxY(); ++y)
            for (int x = rect.x; x < rect.maxX(); ++x) pixels.insert({x, y});
    return pixels;
}

TEST(DashedOutlineTest, dashesGoRoundTheFrameAndMoveAnticlockwise) {
    const PixelRect view{0, 0, 400, 300};
    // The line's middle is 56 + 28 + 56 + 28 points long: whole patterns on each side.
    const Rect path{11, 21, 56, 28};
    for (const int step : {0, 6}) {
        const auto outline = dashedOutline(path, 1, 0.45 * step / 14 + 0.001);
        const auto dashes = pixelsOf(outline.dashes(view));
        for (int along = 2; along < 54; ++along) {
            const bool isRed = (along + step) % 14 < 8;
            EXPECT_EQ(dashes.contains({11 + along, 20}), isRed) << step << " " << along;
            EXPECT_EQ(dashes.contains({66 - along, 49}), isRed) << step << " " << along;
        }
    }
    for (const auto& unseen : {Rect{-1e9, -1e9, 2e9, 2e9}, Rect{500, 500, 50, 50}, Rect{20, 20, 0, 60},
                               Rect{20, 20, -5, -5}, Rect{-50, -50, 600, 20}})
        EXPECT_TRUE(dashedOutline(unseen, 1, 0.1).dashes(view).empty());
}

}  // namespace
}  // namespace kasto::test
