#include "recording/FrameCompositor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <functional>

namespace kasto {
namespace {

using Rgb = std::array<int, 3>;

constexpr Rgb kWhite{255, 255, 255};
constexpr Rgb kRed{255, 0, 0};
constexpr Rgb kBlue{0, 0, 255};
constexpr Rgb kPulse{235, 66, 77};
constexpr Rgb kBorder{13, 13, 15};
constexpr Rgb kNoCamera{23, 23, 28};

std::uint8_t* at(const PixelBuffer& buffer, int x, int y) {
    return buffer.plane(0).data + y * buffer.plane(0).strideBytes + 4 * x;
}

Rgb pixel(const PixelBuffer& buffer, int x, int y) {
    const auto* p = at(buffer, x, y);
    return {p[2], p[1], p[0]};
}

PixelBufferRef painted(int width, int height, const std::function<Rgb(int, int)>& colorAt) {
    auto buffer = PixelBuffer::make(PixelFormat::bgrx, width, height);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const Rgb color = colorAt(x, y);
            for (std::size_t i = 0; i < 3; ++i)
                at(*buffer, x, y)[2 - i] = static_cast<std::uint8_t>(color[i]);
        }
    }
    return buffer;
}

// Every channel within two levels: rounding of colours and blends.
bool near(Rgb seen, Rgb wanted) {
    return std::ranges::equal(seen, wanted, [](int a, int b) { return std::abs(a - b) <= 2; });
}

Rgb mixed(Rgb over, Rgb under, double alpha) {
    for (std::size_t i = 0; i < 3; ++i)
        over[i] = static_cast<int>(std::lround(over[i] * alpha + under[i] * (1 - alpha)));
    return over;
}

// A compositor for movies of one size, and the scene it is to draw.
struct Stage {
    Stage(int width, int height, PixelFormat format = PixelFormat::bgra) : pool(format, width, height, 3) {
        compositor.begin(width, height);
        scene.screen = {painted(width, height, [](int, int) { return kWhite; }), 1};
        scene.snapshot.cropPx = {0, 0, static_cast<double>(width), static_cast<double>(height)};
    }
    PixelBufferRef draw() { return compositor.compose(scene, pool); }

    FrameCompositor compositor;
    PixelBufferPool pool;
    FrameIngredients scene;
};

TEST(FrameCompositorTest, WithoutZoomThePictureIsUntouched) {
    Stage stage(320, 180);
    const auto color = [](int x, int y) { return Rgb{x % 256, y, (x * y) % 256}; };
    stage.scene.screen.pixels = painted(320, 180, color);
    const auto frame = stage.draw();
    ASSERT_TRUE(frame);
    for (int y = 0; y < 180; ++y)
        for (int x = 0; x < 320; ++x) ASSERT_EQ(pixel(*frame, x, y), color(x, y)) << x << ", " << y;
}

TEST(FrameCompositorTest, PulsesFadeTowardsTheirRadius) {
    Stage stage(640, 360);
    stage.scene.snapshot.ripples.push_back({{200, 100}, 40, 0.5});
    stage.scene.snapshot.heldDisc = RippleDisc{{500, 300}, 40, 1};
    const auto frame = stage.draw();
    ASSERT_TRUE(frame);
    struct Probe {
        int x, y;
        double alpha;
    };
    // The gradient runs from 22 to 40 px; a pixel's centre lies half a pixel further.
    for (const Probe& p : {Probe{200, 100, 0.5}, Probe{185, 100, 0.5}, Probe{200, 115, 0.5},
                           Probe{230, 100, 0.5 * (40 - 30.5) / 18}, Probe{245, 100, 0}, Probe{200, 259, 0},
                           Probe{500, 300, 1}, Probe{500, 319, 1}, Probe{500, 59, 0}}) {
        EXPECT_PRED2(near, pixel(*frame, p.x, p.y), mixed(kPulse, kWhite, p.alpha)) << p.x << ", " << p.y;
    }
}

TEST(FrameCompositorTest, ZoomEnlargesPictureAndPulse) {
    Stage stage(640, 360);
    // The top left quarter of the crop is red, the rest of it white, all around it blue.
    stage.scene.screen.pixels = painted(640, 360, [](int x, int y) {
        if (x < 200 || x >= 520 || y < 60 || y >= 240) return kBlue;
        return x < 360 && y < 150 ? kRed : kWhite;
    });
    stage.scene.snapshot.zoom = 2;
    stage.scene.snapshot.cropPx = {200, 60, 320, 180};
    stage.scene.snapshot.ripples.push_back({{440, 200}, 14, 1});
    const auto frame = stage.draw();
    ASSERT_TRUE(frame);
    EXPECT_EQ(pixel(*frame, 5, 5), kRed);
    EXPECT_EQ(pixel(*frame, 315, 175), kRed);
    EXPECT_EQ(pixel(*frame, 325, 175), kWhite);
    EXPECT_EQ(pixel(*frame, 315, 185), kWhite);
    EXPECT_EQ(pixel(*frame, 634, 354), kWhite);
    // 14 px become 28: coloured inside, white outside.
    EXPECT_PRED2(near, pixel(*frame, 480, 280), kPulse);
    for (const int away : {-24, 23})
        EXPECT_PRED2(std::not_fn(near), pixel(*frame, 480 + away, 280), kWhite) << away;
    for (const int away : {-31, 30}) EXPECT_EQ(pixel(*frame, 480, 280 + away), kWhite) << away;
}

TEST(FrameCompositorTest, TheTileHasABorderThatGrowsWithTheMovie) {
    struct Row {
        int width, height;
        int lastBorder, firstPicture;  // pixels away from the tile
    };
    for (const Row& row : {Row{1280, 720, 3, 4}, Row{3840, 2160, 4, 6}}) {  // 4.8 px: the fifth is cut
        Stage stage(row.width, row.height);
        stage.scene.snapshot.camRect = Rect{100, 200, 160, 90};
        const auto frame = stage.draw();
        ASSERT_TRUE(frame);
        EXPECT_PRED2(near, pixel(*frame, 100, 200), kNoCamera);
        EXPECT_PRED2(near, pixel(*frame, 259, 289), kNoCamera);
        EXPECT_PRED2(near, pixel(*frame, 99, 199), kBorder);
        EXPECT_PRED2(near, pixel(*frame, 100 - row.lastBorder, 240), kBorder);
        EXPECT_PRED2(near, pixel(*frame, 180, 289 + row.lastBorder), kBorder);
        EXPECT_EQ(pixel(*frame, 100 - row.firstPicture, 240), kWhite);
        EXPECT_EQ(pixel(*frame, 180, 289 + row.firstPicture), kWhite);
    }
}

TEST(FrameCompositorTest, TheRoundTileIsACircleInARing) {
    Stage stage(1280, 720);
    stage.scene.snapshot.camRect = Rect{1000, 500, 200, 200};
    stage.scene.snapshot.camRound = true;
    const auto frame = stage.draw();
    ASSERT_TRUE(frame);
    EXPECT_PRED2(near, pixel(*frame, 1100, 600), kNoCamera);
    EXPECT_PRED2(near, pixel(*frame, 1100, 502), kNoCamera);
    // Along the diagonal: picture disc to 100, ring to 103, each edge soft by a pixel.
    const auto diagonal = [&](double radius) {
        const int d = static_cast<int>(std::floor(radius / std::sqrt(2)));
        return pixel(*frame, 1100 + d, 600 + d);
    };
    EXPECT_PRED2(near, diagonal(97), kNoCamera);
    EXPECT_PRED2(near, diagonal(101), kBorder);
    EXPECT_EQ(diagonal(106), kWhite);
    for (const int corner : {0, 199}) EXPECT_EQ(pixel(*frame, 1000 + corner, 500 + corner), kWhite);
}

TEST(FrameCompositorTest, TheCameraCoversItsTileCentred) {
    // Twice as wide as the tile's shape: a quarter is cut off on the left (green) and on the right.
    const auto camera = painted(400, 200, [](int x, int y) {
        if (x < 90) return Rgb{0, 255, 0};
        return y < 100 ? kRed : kBlue;
    });
    for (const bool round : {false, true}) {
        Stage stage(1280, 720);
        stage.scene.snapshot.camRect = Rect{40, 40, 100, 100};
        stage.scene.snapshot.camRound = round;
        stage.scene.camera = camera;
        const auto frame = stage.draw();
        ASSERT_TRUE(frame);
        EXPECT_EQ(pixel(*frame, 42, 88), kRed);  // all of the green lies beyond the left edge
        EXPECT_EQ(pixel(*frame, 137, 88), kRed);
        EXPECT_EQ(pixel(*frame, 90, 44), kRed);
        EXPECT_EQ(pixel(*frame, 90, 136), kBlue);
    }
}

TEST(FrameCompositorTest, DrawsForTheEncoderToo) {
    Stage stage(640, 360, PixelFormat::i420);
    stage.scene.snapshot.heldDisc = RippleDisc{{100, 100}, 40, 1};
    const auto frame = stage.draw();
    ASSERT_TRUE(frame);
    const auto luma = [&](int x, int y) { return frame->plane(0).data[y * frame->plane(0).strideBytes + x]; };
    EXPECT_EQ(luma(400, 300), 235);
    EXPECT_NEAR(luma(100, 100), 16 + 219 * (0.2126 * 0.92 + 0.7152 * 0.26 + 0.0722 * 0.30), 1);
}

TEST(FrameCompositorTest, ComposesOnlyWhatChanged) {
    Stage stage(64, 36);
    auto& scene = stage.scene;
    scene.snapshot.camRect = Rect{10, 10, 16, 9};
    const auto camera = painted(16, 9, [](int, int) { return kRed; });
    const std::pair<const char*, std::function<void()>> changes[] = {
        {"picture", [&] { scene.screen.generation = 2; }},
        {"zoom",
         [&] {
             scene.snapshot.cropPx = {0, 0, 32, 18};
         }},
        {"pulse",
         [&] {
             scene.snapshot.ripples.push_back({{5, 5}, 3, 1});
         }},
        {"camera comes", [&] { scene.camera = camera; }},
        {"camera goes", [&] { scene.camera = {}; }},
    };
    auto before = stage.draw();
    ASSERT_TRUE(before);
    for (const auto& [name, change] : changes) {
        EXPECT_EQ(stage.draw(), before) << name;
        change();
        const auto after = stage.draw();
        ASSERT_TRUE(after) << name;
        EXPECT_FALSE(after == before) << name;
        before = after;
    }
    stage.compositor.begin(64, 36);
    EXPECT_FALSE(stage.draw() == before) << "a new movie starts afresh";
}

TEST(FrameCompositorTest, AnEmptyPoolCostsOneFrameOnly) {
    Stage stage(64, 36);
    auto held = stage.pool.take();
    const auto alsoHeld = stage.pool.take();
    auto first = stage.draw();
    ASSERT_TRUE(first);
    stage.scene.screen.generation = 2;
    EXPECT_FALSE(stage.draw());
    held = {};
    const auto second = stage.draw();
    ASSERT_TRUE(second);
    EXPECT_FALSE(second == first) << "the frame that was missed is composed now";
    // What is kept for an unchanged frame goes back at the end.
    first = {};
    stage.compositor.end();
    EXPECT_TRUE(stage.pool.take());
}

}  // namespace
}  // namespace kasto
