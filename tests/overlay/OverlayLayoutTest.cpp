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
    struct Case {
        double zoom;
        bool panned;
        int elapsedS;
        std::string suffix;
        std::string text;
    };
    for (const auto& [zoom, panned, elapsedS, suffix, text] : {
             Case{1.0, false, 0, "", "● rec 0:00"},
             Case{1.02, false, 59, " · mic", "● rec 0:59 · mic"},
             Case{1.5, false, 60, "", "● rec 1:00 · 1.5x"},
             Case{2.34, true, 65, " · sys · mic", "● rec 1:05 · 2.3x · panned · sys · mic"},
             Case{8.0, false, 3725, "", "● rec 62:05 · 8.0x"},
         })
        EXPECT_EQ(layOut(snapshotOf(zoom, panned), 2, 2, elapsedS, suffix, {})->text, text);
}

TEST(OverlayLayoutTest, mapsCapturePixelsToTheScreen) {
    EXPECT_EQ(layOut(snapshotOf(1), 0, 2, 0, "", {}), std::nullopt);
    EXPECT_EQ(layOut(snapshotOf(1), 2, -1, 0, "", {}), std::nullopt);
    EXPECT_EQ(layOut(snapshotOf(1), 2, 2, 0, "", {})->marquee, (Rect{3, 3, 1914, 1074}));

    auto zoomed = snapshotOf(1.5);
    zoomed.cropPx = {400, 300, 2560, 1440};
    zoomed.ripples.push_back({{100, 80}, 28, 0.5});
    zoomed.heldDisc = {{200, 160}, 32, 0.3};
    zoomed.camRect = Rect{3024, 1344, 768, 768};
    zoomed.camRound = true;
    const auto layout = *layOut(zoomed, 2, 4, 0, "", {100, 50});
    EXPECT_EQ(layout.marquee, (Rect{301, 126, 1278, 358}));
    ASSERT_EQ(layout.clicks.size(), 2u);
    EXPECT_EQ(layout.clicks[0], (OverlayLayout::Circle{{150, 70}, 14}));
    EXPECT_EQ(layout.clicks[1], (OverlayLayout::Circle{{200, 90}, 16}));
    EXPECT_EQ(layout.camera, (OverlayLayout::Tile{{1612, 386, 384, 192}, 96}));

    zoomed.camRound = false;
    EXPECT_EQ(layOut(zoomed, 2, 4, 0, "", {})->camera->cornerRadius, 0);
    zoomed.camRect.reset();
    EXPECT_EQ(layOut(zoomed, 2, 4, 0, "", {})->camera, std::nullopt);

    const auto hud = layOutHud(1920, {200.4, 14.5});
    EXPECT_EQ(hud.background, (Rect{1920 - 217 - 14, 38, 217, 23}));
    EXPECT_EQ(hud.text, (Rect{1697, 38 + (23 - 14.5) / 2, 203, 15}));
}

// Walks along the line: so many pixels of it are red.
std::set<std::pair<int, int>> pixelsOf(const DashedOutline& outline, const PixelRect& view) {
    std::set<std::pair<int, int>> pixels;
    for (const auto& dash : outline.dashes(view))
        for (int y = dash.y; y < dash.maxY(); ++y)
            for (int x = dash.x; x < dash.maxX(); ++x) pixels.insert({x, y});
    return pixels;
}

TEST(DashedOutlineTest, dashesGoRoundTheFrameAndMove) {
    const PixelRect view{0, 0, 400, 300};
    // The line's middle is 56 + 28 + 56 + 28 points long: whole patterns on each side.
    const Rect path{11, 21, 56, 28};
    const auto still = dashedOutline(path, 1, 0);
    EXPECT_EQ(still.outerPx, (PixelRect{10, 20, 58, 30}));
    EXPECT_EQ(still.linePx, 2);
    for (int along = 0; along < 56; ++along) {
        const bool isRed = along % 14 < 8;
        EXPECT_EQ(pixelsOf(still, view).contains({11 + along, 20}), isRed) << along;
        EXPECT_EQ(pixelsOf(still, view).contains({66 - along, 49}), isRed) << along;
    }
    // A quarter of a second later the pattern has moved on, anticlockwise.
    const auto later = dashedOutline(path, 1, 0.45 * 3 / 7);
    EXPECT_EQ(later.phasePx, 6);
    EXPECT_FALSE(pixelsOf(later, view).contains({11 + 2, 20}));
    EXPECT_TRUE(pixelsOf(later, view).contains({11 + 8, 20}));
    EXPECT_EQ(dashedOutline(path, 1, 0.45 * 5 + 0.001), still);

    for (const auto& outline : {still, later, dashedOutline(path, 2, 0.2), dashedOutline(path, 1.25, 0.1)}) {
        const auto dashes = pixelsOf(outline, view);
        std::size_t onSides = 0;
        for (const auto& side : outline.sides(view))
            onSides += static_cast<std::size_t>(side.width * side.height);
        EXPECT_GT(dashes.size(), onSides / 2);
        for (const auto& [x, y] : dashes)
            EXPECT_TRUE(std::ranges::any_of(outline.sides(view),
                                            [&](const auto& side) {
                                                return !side.intersection({x, y, 1, 1}).isEmpty();
                                            }))
                << x << " " << y;
    }
}

TEST(DashedOutlineTest, whatIsNotInTheViewIsNotDrawn) {
    const PixelRect view{0, 0, 100, 100};
    for (const auto& path : {Rect{-1e9, -1e9, 2e9, 2e9}, Rect{500, 500, 50, 50}, Rect{20, 20, 0, 60},
                             Rect{20, 20, -5, -5}, Rect{-50, -50, 300, 20}})
        EXPECT_TRUE(pixelsOf(dashedOutline(path, 1, 0.1), view).empty());
    const auto cut = pixelsOf(dashedOutline({-3000, 50, 6000, 6000}, 1, 0.1), view);
    EXPECT_GT(cut.size(), 90u);
    for (const auto& [x, y] : cut) EXPECT_TRUE(x >= 0 && x < 100 && y >= 49 && y < 51);
}

}  // namespace
}  // namespace kasto::test
