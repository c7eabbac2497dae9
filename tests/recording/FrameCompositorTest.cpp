#include "recording/FrameCompositor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <functional>
#include <random>
#include <vector>

namespace kasto {
namespace {

using Rgb = std::array<int, 3>;

constexpr Rgb kWhite{255, 255, 255}, kRed{255, 0, 0}, kGreen{0, 255, 0}, kBlue{0, 0, 255};
constexpr Rgb kPulse{235, 66, 77}, kBorder{13, 13, 15}, kNoCamera{23, 23, 28};

std::uint8_t* at(const PixelBuffer& buffer, int x, int y) {
    return buffer.plane(0).data + y * buffer.plane(0).strideBytes + 4 * x;
}

PixelBufferRef painted(int width, int height, const std::function<Rgb(int, int)>& colorAt) {
    auto buffer = PixelBuffer::make(PixelFormat::bgrx, width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) std::ranges::reverse_copy(colorAt(x, y), at(*buffer, x, y));
    return buffer;
}

struct Probe {
    int x, y;
    Rgb color;
};

// A compositor for movies of one size, and the scene it is to draw.
struct Stage {
    Stage(int width, int height) : pool(PixelFormat::bgra, width, height, 3) {
        compositor.begin(width, height);
        scene.screen = {painted(width, height, [](int, int) { return kWhite; }), BlockSet(width, height)};
        scene.snapshot.cropPx = {0, 0, static_cast<double>(width), static_cast<double>(height)};
    }
    PixelBufferRef draw() { return compositor.compose(scene, pool); }
    void expect(const std::vector<Probe>& probes) {
        const auto frame = draw();
        ASSERT_TRUE(frame);
        for (const auto& [x, y, color] : probes) {
            // Two levels for the rounding of colours and blends.
            for (std::size_t i = 0; i < 3; ++i)
                EXPECT_NEAR(at(*frame, x, y)[2 - i], color[i], 2) << x << ", " << y;
        }
    }

    FrameCompositor compositor;
    PixelBufferPool pool;
    FrameIngredients scene;
};

TEST(FrameCompositorTest, ZoomEnlargesPictureAndPulses) {
    Stage stage(640, 360);
    // The top left quarter of the crop is red, the rest of it white, all around it blue.
    stage.scene.screen.pixels = painted(640, 360, [](int x, int y) {
        if (x < 200 || x >= 520 || y < 60 || y >= 240) return kBlue;
        return x < 360 && y < 150 ? kRed : kWhite;
    });
    stage.scene.snapshot.cropPx = {200, 60, 320, 180};
    stage.scene.snapshot.ripples.push_back({{440, 200}, 20, 0.5});
    stage.scene.snapshot.heldDisc = RippleDisc{{440, 100}, 20, 1};
    stage.expect(
        {{5, 5, kRed}, {315, 175, kRed}, {325, 175, kWhite}, {315, 185, kWhite}, {634, 354, kWhite}});
    // 20 px become 40; a pulse fades from 22 px on.
    const Rgb half{245, 160, 166}, faded{250, 206, 208};
    stage.expect(
        {{480, 280, half}, {500, 280, half}, {510, 280, faded}, {480, 238, kWhite}, {480, 322, kWhite}});
    stage.expect({{480, 80, kPulse}, {480, 99, kPulse}, {480, 122, kWhite}});
    const auto frame = stage.draw();
    stage.scene.snapshot.cropPx.x += 5e-4;
    EXPECT_EQ(stage.draw(), frame) << "no colour differs";
    stage.scene.snapshot.cropPx.x += 5e-3;
    EXPECT_FALSE(stage.draw() == frame);
}

// As after a change of the display's resolution.
TEST(FrameCompositorTest, APictureOfAnotherSizeIsFittedInOnBlack) {
    constexpr Rgb kBlack{};
    Stage stage(640, 360);
    stage.scene.screen.pixels = painted(150, 100, [](int x, int) { return x < 75 ? kRed : kBlue; });
    stage.expect({{48, 180, kBlack}, {52, 2, kRed}, {317, 357, kRed}, {322, 180, kBlue}, {587, 180, kBlue}});
    stage.expect({{592, 180, kBlack}});
    stage.scene.snapshot.cropPx = {0, 90, 320, 180};  // the upper left part, twice as large
    stage.expect({{97, 180, kBlack}, {103, 180, kRed}, {634, 180, kRed}});
}

TEST(FrameCompositorTest, TilesHaveABorderThatGrowsWithTheMovie) {
    for (const int border : {3, 4}) {  // 4.8 px: the fifth is cut
        Stage stage(border == 3 ? 1280 : 3840, 2160);
        stage.scene.snapshot.camRect = Rect{100, 200, 160, 90};
        stage.expect({{100, 200, kNoCamera}, {259, 289, kNoCamera}, {99, 199, kBorder}});
        stage.expect({{100 - border, 240, kBorder}, {180, 289 + border, kBorder}});
        stage.expect({{98 - border, 240, kWhite}, {180, 291 + border, kWhite}});
    }
}

TEST(FrameCompositorTest, TheCameraCoversItsTileCentred) {
    for (const bool round : {false, true}) {
        Stage stage(1280, 720);
        stage.scene.snapshot.camRect = Rect{40, 40, 200, 200};
        stage.scene.snapshot.camRound = round;
        // Twice as wide as the tile's shape: a quarter is cut off on the left (green) and on the right.
        stage.scene.tile.camera = painted(400, 200, [](int x, int y) {
            if (x < 90) return kGreen;
            return y < 100 ? kRed : kBlue;
        });
        stage.expect({{42, 138, kRed}, {237, 138, kRed}, {140, 42, kRed}, {140, 237, kBlue}});
        // Along the diagonal: picture disc to 100, ring to 103, each edge soft by a pixel.
        if (round)
            stage.expect({{208, 208, kBlue}, {211, 211, kBorder}, {214, 214, kWhite}, {40, 40, kWhite}});
    }
}

// The most by which the colours of two frames differ in a block.
int mostDifference(const PixelBuffer& a, const PixelBuffer& b, int column, int row) {
    int most = 0;
    for (int y = row * 16; y < std::min((row + 1) * 16, a.height()); ++y)
        for (int x = column * 16 * 4; x < std::min((column + 1) * 16, a.width()) * 4; ++x)
            if (x % 4 != 3) most = std::max(most, std::abs(at(a, 0, y)[x] - at(b, 0, y)[x]));
    return most;
}

// Whatever happens from frame to frame, a frame looks as if it had been composed whole, and where it is not
// said to have changed it is the frame before.
TEST(FrameCompositorTest, FramesComposedInPartsLookAsComposedWhole) {
    constexpr int kWidth = 300;
    constexpr int kHeight = 170;
    Stage stage(kWidth, kHeight);
    FrameCompositor whole;
    PixelBufferPool wholePool(PixelFormat::bgra, kWidth, kHeight, 2);
    std::minstd_rand random(11);
    const auto upTo = [&](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
    auto& scene = stage.scene;
    TilePainter painter;
    PixelBufferRef before;
    std::vector<PixelBufferRef> alsoHeld;
    for (int frame = 0; frame < 300; ++frame) {
        SCOPED_TRACE(frame);
        scene.screen.changed.clear();
        if (upTo(2) == 0) {
            const auto old = scene.screen.pixels;
            const PixelRect box{upTo(old->width()), upTo(old->height()), 1 + upTo(60), 1 + upTo(30)};
            const Rgb color{upTo(256), upTo(256), upTo(256)};
            scene.screen.pixels = painted(old->width(), old->height(), [&](int x, int y) {
                const auto* pixel = at(*old, x, y);
                return box.intersection({x, y, 1, 1}).isEmpty() ? Rgb{pixel[2], pixel[1], pixel[0]} : color;
            });
            scene.screen.changed.add(box);
        }
        if (upTo(30) == 0) {
            const int width = upTo(2) ? kWidth : 40 + upTo(500);
            const int height = upTo(2) ? kHeight : 40 + upTo(300);
            const auto gradient = [](int x, int y) { return Rgb{x % 256, y % 256, 99}; };
            scene.screen = {painted(width, height, gradient), BlockSet::all(width, height)};
        }
        auto& snapshot = scene.snapshot;
        if (upTo(20) == 0) {
            const double zoom = upTo(2) ? 1 : 1 + upTo(500) / 100.0;
            snapshot.cropPx = {kWidth * (1 - 1 / zoom) * upTo(11) / 10,
                               kHeight * (1 - 1 / zoom) * upTo(11) / 10, kWidth / zoom, kHeight / zoom};
        }
        if (upTo(4) == 0) snapshot.ripples = {};
        if (upTo(3) == 0)
            snapshot.ripples.push_back({{upTo(kWidth) + 0.3, upTo(kHeight) + 0.7}, 3.0 + upTo(30), 0.7});
        if (upTo(8) == 0) snapshot.heldDisc = RippleDisc{{upTo(kWidth) * 1.0, upTo(kHeight) * 1.0}, 12, 0.5};
        if (upTo(8) == 0) snapshot.heldDisc.reset();
        if (upTo(8) == 0) snapshot.camRect = Rect{upTo(200) + 0.25, upTo(100) + 0.5, 60, 60};
        if (upTo(12) == 0) snapshot.camRect.reset();
        if (upTo(8) == 0) snapshot.camRound = !snapshot.camRound;
        if (upTo(12) == 0) scene.tile = {};
        if (upTo(5) == 0) {
            const auto stripes = [level = upTo(256)](int x, int) { return Rgb{level, x * 3, 9}; };
            scene.tile = {.camera = painted(64, 48, stripes)};
            const TilePlace place{{kWidth, kHeight}, snapshot.camRect.value_or(Rect{}), snapshot.camRound};
            if (snapshot.camRect && upTo(4)) scene.tile = painter.draw(scene.tile.camera, place);
        }

        // Buffers come back in another order than they went out; sometimes there is none.
        if (upTo(6) == 0) alsoHeld.push_back(stage.pool.take());
        const auto drawn = stage.draw();
        if (upTo(8) == 0) alsoHeld.clear();
        if (!drawn) continue;
        whole.begin(kWidth, kHeight);
        auto plain = scene;
        plain.tile.pixels = {};
        const auto expected = whole.compose(plain, wholePool);
        for (int row = 0; row * 16 < kHeight; ++row)
            for (int column = 0; column * 16 < kWidth; ++column) {
                ASSERT_LE(mostDifference(*drawn, *expected, column, row), 1) << column << ", " << row;
                if (!before || stage.compositor.changed().contains(column, row)) continue;
                ASSERT_EQ(mostDifference(*drawn, *before, column, row), 0) << column << ", " << row;
            }
        before = drawn;
    }
    alsoHeld.clear();
    before = {};
    stage.compositor.end();
    const auto all = {stage.pool.take(), stage.pool.take(), stage.pool.take()};
    EXPECT_EQ(std::ranges::count(all, PixelBufferRef{}), 0) << "the end gives all buffers back";
}

}  // namespace
}  // namespace kasto
