#include "imaging/ImageContext.h"
#include "imaging/ReferenceImage.h"
#include "imaging/VectorTargets.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

namespace kasto::test {
namespace {

constexpr Color kPulse{0.92, 0.26, 0.30, 0.7};
constexpr Color kPulseEdge{0.92, 0.26, 0.30, 0};
constexpr Color kWhite{1, 1, 1, 1};
constexpr Color kClearWhite{1, 1, 1, 0};
constexpr Color kBorder{0.05, 0.05, 0.06, 1};
constexpr PixelFormat kFormats[] = {PixelFormat::i420, PixelFormat::bgra, PixelFormat::bgrx};

// Recipes of random shape; every kind of node within a few levels.
class RandomRecipes {
public:
    explicit RandomRecipes(unsigned seed) : random_(seed) {}

    ReferenceImage make(int depth) {
        const int kind = depth == 0 ? pick(4) : 1 + pick(8);
        switch (kind) {
            case 0:
                return {};
            case 1:
                return ReferenceImage::color(color());
            case 2: {
                const double radius0 = pick(3) == 0 ? 0 : real(0, 12);
                return ReferenceImage::radialGradient({real(-5, 45), real(-5, 35)}, radius0, color(),
                                                      radius0 + real(0.5, 20),
                                                      pick(2) ? Color{0, 0, 0, 0} : color());
            }
            case 3:
                return ReferenceImage::pixels(noise(pick(2) ? PixelFormat::bgra : PixelFormat::bgrx,
                                                    1 + pick(50), 1 + pick(40), random_()));
            case 4:
                return make(depth - 1).cropped({real(-5, 30), real(-5, 20), real(1, 40), real(1, 30)});
            case 5:
                return pick(2) ? make(depth - 1).translated(pick(20) - 8, pick(20) - 8)
                               : make(depth - 1).translated(real(-8, 12), real(-8, 12));
            case 6:
                return make(depth - 1).scaled(real(0.3, 4), pick(3) ? real(0.3, 4) : 1);
            case 7: {
                const auto front = make(depth - 1);
                return front.over(make(depth - 1));
            }
            default: {
                const auto front = make(depth - 1);
                const auto back = make(depth - 1);
                return ReferenceImage::blend(front, back, make(depth - 1));
            }
        }
    }

private:
    int pick(int count) { return static_cast<int>(random_() % static_cast<unsigned>(count)); }
    double real(double low, double high) { return std::uniform_real_distribution(low, high)(random_); }
    Color color() { return {real(0, 1), real(0, 1), real(0, 1), pick(3) == 0 ? 1 : real(0, 1)}; }

    std::mt19937 random_;
};

TEST(RenderTest, randomRecipesLookAsComputedPointByPoint) {
    forEachVectorTarget([] {
        for (unsigned seed = 1; seed <= 400; ++seed) {
            SCOPED_TRACE("seed " + std::to_string(seed));
            const auto recipe = RandomRecipes(seed).make(1 + static_cast<int>(seed % 5));
            const double x = static_cast<double>(seed % 7) - 3;
            const Rect even{x, -2, 40 + 2.0 * (seed % 20), 32};
            const Rect odd{x, 1, 33 + 2.0 * (seed % 20), 27};
            const auto format = kFormats[seed % 3];
            expectLooksAs(recipe, format, format == PixelFormat::i420 ? even : odd);
            if (testing::Test::HasFailure()) return;
        }
    });
}

// The most by which two pictures differ in what makes up a pixel; the fourth byte of bgrx means nothing.
int sampleDifference(const PixelBuffer& a, const PixelBuffer& b, int x, int y) {
    int most = 0;
    for (int p = 0; p < a.planeCount(); ++p) {
        const bool isPlanar = a.format() == PixelFormat::i420;
        const int half = p == 0 ? 1 : 2;
        const int bytes = isPlanar ? 1 : a.format() == PixelFormat::bgrx ? 3 : 4;
        const auto at = (y / half) * a.plane(p).strideBytes + x / half * (isPlanar ? 1 : 4);
        for (int i = 0; i < bytes; ++i)
            most = std::max(most, std::abs(a.plane(p).data[at + i] - b.plane(p).data[at + i]));
    }
    return most;
}

// What a frame of a movie is made of: the screen with pulses, zoomed, and a tile over it.
ReferenceImage frame(int width, int height, double zoom, Point origin, PixelFormat cameraFormat,
                     bool isRound) {
    auto image = ReferenceImage::pixels(noise(PixelFormat::bgrx, width, height, 5));
    const Point pulses[] = {{30, 20}, {34, 22}, {2, 3}, {width - 4.0, height - 1.0}};
    for (const Point& at : pulses) {
        const double radius = 14.3;
        image = ReferenceImage::radialGradient(at, 0.55 * radius, kPulse, radius, kPulseEdge)
                    .cropped({at.x - radius - 2, at.y - radius - 2, 2 * radius + 4, 2 * radius + 4})
                    .over(image);
    }
    image = image.cropped({origin.x, origin.y, width / zoom, height / zoom})
                .translated(-origin.x, -origin.y)
                .scaled(zoom, zoom);

    const Rect tile{width - 60.0, 6.5, 50, 50};
    const auto camera = ReferenceImage::pixels(noise(cameraFormat, 128, 72, 6))
                            .scaled(tile.height / 72, tile.height / 72)
                            .translated(tile.midX() - 64 * tile.height / 72, tile.y)
                            .cropped(tile);
    const auto border = ReferenceImage::color(kBorder).cropped(tile.grown(3));
    if (!isRound) return camera.over(border.over(image));
    const Point center{tile.midX(), tile.midY()};
    const Rect whole{0, 0, static_cast<double>(width), static_cast<double>(height)};
    const auto disc = [&](double radius) {
        return ReferenceImage::radialGradient(center, radius - 1, kWhite, radius + 1, kClearWhite)
            .cropped(whole);
    };
    image = ReferenceImage::blend(border, image, disc(28));
    return ReferenceImage::blend(camera, image, disc(25));
}

TEST(RenderTest, framesLookAsComputedPointByPoint) {
    forEachVectorTarget([] {
        for (const auto& [zoom, origin] :
             {std::pair{1.0, Point{0, 0}}, {2, {20.3, 11.7}}, {8, {100, 40}}, {1.0037, {0.4, 0.1}}}) {
            for (const bool isRound : {false, true}) {
                for (const PixelFormat format : kFormats) {
                    SCOPED_TRACE(testing::Message()
                                 << "zoom " << zoom << (isRound ? " round" : " rectangular"));
                    const auto camera = format == PixelFormat::bgra ? PixelFormat::bgra : PixelFormat::bgrx;
                    expectLooksAs(frame(246, 134, zoom, origin, camera, isRound), format, {0, 0, 246, 134});
                }
            }
        }
    });
}

TEST(RenderTest, nothingIsBlackOrTransparent) {
    for (const PixelFormat format : kFormats) expectLooksAs({}, format, {0, 0, 6, 4}, 0);
}

TEST(RenderTest, threadsDrawTheSameBits) {
    for (const PixelFormat format : {PixelFormat::i420, PixelFormat::bgra}) {
        const auto image = frame(1282, 720, 1.7, {33.3, 44.4}, PixelFormat::bgra, true).image;
        const auto alone = PixelBuffer::make(format, 1282, 720);
        const auto together = PixelBuffer::make(format, 1282, 720);
        ImageContext(1).render(image, *alone, {0, 0, 1282, 720});
        ImageContext four(4);
        for (int i = 0; i < 20; ++i) four.render(image, *together, {0, 0, 1282, 720});
        for (int i = 0; i < alone->planeCount(); ++i) {
            const Plane& a = alone->plane(i);
            const Plane& b = together->plane(i);
            const auto rowBytes = static_cast<std::size_t>(a.width) * (format == PixelFormat::i420 ? 1 : 4);
            for (int row = 0; row < a.height; ++row) {
                const auto at = row * a.strideBytes;
                ASSERT_EQ(std::vector(a.data + at, a.data + at + rowBytes),
                          std::vector(b.data + at, b.data + at + rowBytes))
                    << "plane " << i << " row " << row;
            }
        }
    }
}

// Frames of a movie that changes bit by bit: what is drawn anew and what was there before fit together.
TEST(RenderTest, blocksAloneLookAsInTheWholePicture) {
    forEachVectorTarget([] {
        ImageContext context(2);
        std::minstd_rand random(9);
        for (const auto& [zoom, origin] : {std::pair{1.0, Point{0, 0}}, {2, {20.3, 11.7}}, {5, {100, 40}}}) {
            for (const PixelFormat format : kFormats) {
                SCOPED_TRACE(testing::Message()
                             << "zoom " << zoom << ", format " << static_cast<int>(format));
                const auto image = frame(246, 134, zoom, origin, PixelFormat::bgrx, true).image;
                const Rect bounds{0, 0, 246, 134};
                const auto whole = PixelBuffer::make(format, 246, 134);
                const auto parts = PixelBuffer::make(format, 246, 134);
                context.render(image, *whole, bounds);
                context.render({}, *parts, bounds);
                const auto black = PixelBuffer::make(format, 246, 134);
                context.render({}, *black, bounds);
                BlockSet blocks(246, 134);
                for (int i = 0; i < 40; ++i)
                    blocks.add({static_cast<int>(random() % 246), static_cast<int>(random() % 134), 1, 1});
                context.render(image, *parts, bounds, blocks);
                for (int y = 0; y < 134; ++y)
                    for (int x = 0; x < 246; ++x) {
                        const auto& expected = blocks.contains(x / 16, y / 16) ? whole : black;
                        ASSERT_LE(sampleDifference(*parts, *expected, x, y), 1) << x << ", " << y;
                    }
            }
        }
    });
}

}  // namespace
}  // namespace kasto::test
