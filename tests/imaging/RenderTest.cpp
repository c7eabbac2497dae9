#include "imaging/ReferenceImage.h"

#include <hwy/highway.h>

#include <random>
#include <string>
#include <vector>

namespace kasto::test {
namespace {

constexpr double kExact = 1e-9;
constexpr PixelFormat kFormats[] = {PixelFormat::i420, PixelFormat::bgra, PixelFormat::bgrx};

// Runs `check` with each width of vectors the processor has, from the oldest on.
template <class Check>
void forEachVectorTarget(Check check) {
    for (const auto target : {HWY_SSSE3, HWY_SSE4, HWY_AVX2, HWY_AVX3, HWY_AVX3_DL}) {
        if ((hwy::SupportedTargets() & target) == 0) continue;
        SCOPED_TRACE(hwy::TargetName(target));
        hwy::GetChosenTarget().Update(target);
        check();
    }
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
}

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

    // Behind one of the things that lie over the picture of a movie.
    ReferenceImage behindSomething(const ReferenceImage& back, int width) {
        const int kind = pick(4);
        return kind == 0   ? behindAPulse(back, width)
               : kind == 1 ? behindATile(back)
                           : behindADisc(back, width);
    }

private:
    ReferenceImage behindAPulse(const ReferenceImage& back, int width) {
        const double radius = real(3, 40);
        const Point at{real(0, width), real(0, 60)};
        return ReferenceImage::radialGradient(at, 0.55 * radius, {0.9, 0.3, 0.3, 0.7}, radius,
                                              {0.9, 0.3, 0.3, 0})
            .cropped(Rect{at.x, at.y, 0, 0}.grown(radius + 2))
            .over(back);
    }

    // A picture that is known to be a disc.
    ReferenceImage behindATile(const ReferenceImage& back) {
        const double opaqueRadius = real(0, 90);
        const Disc disc{{real(40, 160), real(0, 60)}, opaqueRadius, opaqueRadius + real(0.5, 20)};
        const auto pixels = noise(PixelFormat::bgra, 200, 60, random_());
        const Plane& plane = pixels->plane(0);
        for (int row = 0; row < 60; ++row)
            for (int column = 0; column < 200; ++column) {
                auto* pixel = plane.data + row * plane.strideBytes + column * 4;
                const double distance = std::hypot(column + 0.5 - disc.center.x, 59.5 - row - disc.center.y);
                if (distance < disc.opaqueRadius) pixel[3] = 255;
                if (distance >= disc.visibleRadius) std::fill_n(pixel, 4, 0);
            }
        // Off the grid or of another size now and then.
        const double step = pick(3) ? 1 : 0.5;
        const double scale = pick(3) ? 1 : real(0.5, 1.5);
        return (pick(3) ? ReferenceImage::pixels(pixels, disc)
                        : ReferenceImage::pixels(noise(PixelFormat::bgrx, 200, 60, random_())))
            .scaled(scale, scale)
            .translated(step * pick(60), step * pick(10) - 5)
            .over(back);
    }

    // A picture in a disc of soft edge.
    ReferenceImage behindADisc(const ReferenceImage& back, int width) {
        const double radius = real(2, 30);
        const auto disc =
            ReferenceImage::radialGradient({real(0, width), real(0, 60)}, radius - 1,
                                           {1, 1, 1, pick(4) ? 1 : 0.6}, radius + 1, {1, 1, 1, 0});
        const auto front = pick(3) ? make(1) : make(1).over(ReferenceImage::color({0.2, 0.3, 0.4, 1}));
        return ReferenceImage::blend(front, back, disc);
    }

    int pick(int count) { return static_cast<int>(random_() % static_cast<unsigned>(count)); }
    double real(double low, double high) { return std::uniform_real_distribution(low, high)(random_); }
    Color color() { return {real(0, 1), real(0, 1), real(0, 1), pick(3) == 0 ? 1 : real(0, 1)}; }

    std::mt19937 random_;
};

TEST(RenderTest, randomRecipesLookAsComputedPointByPointWholeOrInBlocks) {
    forEachVectorTarget([] {
        for (unsigned seed = 1; seed <= 300; ++seed) {
            SCOPED_TRACE("seed " + std::to_string(seed));
            const auto format = kFormats[seed % 3];
            const int odd = format == PixelFormat::i420 ? 0 : 1;
            // Some as most frames of a movie are: a picture of their size, with tiles.
            const bool isFrame = seed % 4 == 0;
            const int width = (isFrame ? 256 : 2 + 2 * static_cast<int>(seed % 50)) - odd;
            const int height = 34 + 2 * static_cast<int>(seed % 16) - odd;
            const double x = static_cast<double>(seed % 7) - 3;
            const auto picture =
                ReferenceImage::pixels(noise(PixelFormat::bgrx, width, height, seed)).translated(x, -2);
            RandomRecipes recipes(seed);
            auto recipe = isFrame ? picture : recipes.make(1 + static_cast<int>(seed % 5));
            if (seed % 4 == 1) recipe = recipe.over(picture);
            for (unsigned i = 0; i < seed % 5; ++i) recipe = recipes.behindSomething(recipe, width);
            std::minstd_rand random(seed);
            BlockSet blocks(width, height);
            for (int i = 0; i < 20; ++i)
                blocks.add({static_cast<int>(random() % 256), static_cast<int>(random() % 64), 1, 1});
            expectLooksAs(recipe, format, {x, -2, 1.0 * width, 1.0 * height}, {},
                          seed % 2 ? &blocks : nullptr);
            if (testing::Test::HasFailure()) return;
        }
    });
}

TEST(RenderTest, everyColourIsConvertedAndRoundedOnce) {
    // All of blue, every third of green, every fifth of red, and their ends; rubbish for alpha.
    for (std::uint32_t red = 0; red <= 255; red += 5) {
        SCOPED_TRACE(red);
        const auto source = drawn(PixelFormat::bgrx, 256, 86, [&](int column, int row) {
            const auto green = static_cast<std::uint32_t>(std::min(row * 3, 255));
            return static_cast<std::uint32_t>(column) | green << 8 | red << 16 | red * 7 << 24;
        });
        expectLooksAs(ReferenceImage::pixels(source), PixelFormat::i420, {0, 0, 256, 86}, 0.55);
    }
}

TEST(RenderTest, nothingAndEvenAreasAndWholePlacesAreExact) {
    for (const PixelFormat format : kFormats) expectLooksAs({}, format, {0, 0, 6, 4}, kExact);
    const auto source = ReferenceImage::pixels(noise(PixelFormat::bgra, 37, 23, 4));
    expectLooksAs(source.translated(3, 5), PixelFormat::bgra, {0, 0, 50, 40}, kExact);
    forEachVectorTarget([] {
        for (const std::uint32_t level : {0U, 1U, 127U, 128U, 254U, 255U}) {
            const auto even = ReferenceImage::pixels(
                drawn(PixelFormat::bgra, 31, 17, [&](int, int) { return 0xFF000000 | level * 0x010101; }));
            for (const double scale : {0.11, 0.37, 0.99, 1.0, 1.01, 2.0, 7.3}) {
                SCOPED_TRACE(scale);
                expectLooksAs(even.translated(0.2, 0.1)
                                  .scaled(scale, scale * 1.1)
                                  .over(ReferenceImage::color({0, 0, 0, 0})),
                              PixelFormat::bgra, {0, 0, 3, 2}, kExact);
            }
        }
    });
}

}  // namespace
}  // namespace kasto::test
