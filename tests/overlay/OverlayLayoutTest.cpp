// Where the overlay's parts go, without painting any.

#include "overlay/DashedOutline.h"
#include "overlay/OverlayLayout.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace kasto::test {
namespace {

TEST(OverlayLayoutTest, tellsTimeZoomPanAndTracksWhereTheCaptureLies) {
    RenderSnapshot snapshot;
    snapshot.area = CaptureArea({1100, 50, 1920, 1080}, {3840, 4320});
    snapshot.cropPx = {400, 300, 2560, 1440};
    snapshot.ripples.push_back({{100, 80}, 28, 0.5});
    const std::tuple<double, bool, int, std::string, Rect, std::string> rows[] = {
        {1.02, false, 59, " · mic", {303, 128, 1274, 354}, "● rec 0:59 · mic"},
        {2.34, true, 65, " · sys · mic", {301, 126, 1278, 358}, "● rec 1:05 · 2.3x · panned · sys · mic"},
        {8.0, false, 3725, "", {301, 126, 1278, 358}, "● rec 62:05 · 8.0x"},
        {1, false, -5, "", {303, 128, 1274, 354}, "● rec 0:00"},  // the clock was set back
    };
    for (const auto& [zoom, panned, elapsedS, suffix, outline, text] : rows) {
        snapshot.zoom = zoom;
        snapshot.panned = panned;
        const auto layout = *layOut(snapshot, elapsedS, suffix, {1000, 0});
        EXPECT_EQ(layout.text, text);
        EXPECT_EQ(layout.outline, outline);
        EXPECT_EQ(layout.pulses, (std::vector<OverlayLayout::Circle>{{{150, 70}, 14}}));
    }
    const auto hud = layOutHud(320, {100.5, 15.25});
    EXPECT_EQ(hud.background, (Rect{189, 38, 117, 24}));
    EXPECT_EQ(hud.text, (Rect{197, 42.375, 103, 16}));
}

TEST(DashedOutlineTest, dashesGoRoundTheFrameAndMoveAnticlockwise) {
    const PixelRect view{0, 0, 400, 300};
    // The line's middle is 56 + 28 + 56 + 28 points long: whole patterns on each side.
    const Rect path{11, 21, 56, 28};
    for (const int step : {0, 5}) {
        const auto dashes = dashedOutline(path, 1, 0.45 * step / 14 + 0.001).dashes(view);
        const auto isRed = [&](int x, int y) {
            const PixelRect pixel{x, y, 1, 1};
            return std::ranges::any_of(
                dashes, [&](const PixelRect& dash) { return !dash.intersection(pixel).isEmpty(); });
        };
        for (int along = 2; along < 54; ++along) {
            EXPECT_EQ(isRed(11 + along, 20), (along + step) % 14 < 8) << step << " " << along;
            EXPECT_EQ(isRed(66 - along, 49), (along + step) % 14 < 8) << step << " " << along;
        }
    }
    for (const auto& unseen : {Rect{-1e9, -1e9, 2e9, 2e9}, Rect{500, 500, 50, 50}, Rect{20, 20, 0, 60},
                               Rect{20, 20, -5, -5}, Rect{-50, -50, 600, 20}})
        EXPECT_TRUE(dashedOutline(unseen, 1, 0.1).dashes(view).empty());
}

}  // namespace
}  // namespace kasto::test
