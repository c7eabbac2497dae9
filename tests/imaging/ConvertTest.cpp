#include "imaging/ImageContext.h"
#include "imaging/ReferenceImage.h"
#include "imaging/VectorTargets.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

namespace kasto::test {
namespace {

// What rounding once leaves, and what the weights may be off.
constexpr double kTolerance = 0.5 + 0.05;

Rgba colorOf(std::uint32_t word) {
    return {(word >> 16 & 0xFF) / 255.0, (word >> 8 & 0xFF) / 255.0, (word & 0xFF) / 255.0, 1};
}

struct Errors {
    double luma = 0;
    double chroma = 0;
};

Errors conversionErrors(const PixelBuffer& source) {
    const auto target = PixelBuffer::make(PixelFormat::i420, source.width(), source.height());
    Errors errors;
    const auto planes = std::vector{source.plane(0)};
    const auto shared = PixelBuffer::wrap(source.format(), source.width(), source.height(), planes, [] {});
    ImageContext(1).render(Image::pixels(shared), *target,
                           {0, 0, static_cast<double>(source.width()), static_cast<double>(source.height())});
    const auto sample = [&](int plane, int column, int row) -> double {
        return target->plane(plane).data[row * target->plane(plane).strideBytes + column];
    };
    for (int row = 0; row < source.height(); row += 2) {
        for (int column = 0; column < source.width(); column += 2) {
            Rgba mean{};
            for (int i = 0; i < 4; ++i) {
                const int x = column + i % 2;
                const int y = row + i / 2;
                const Rgba color = colorOf(pixelAt(source, x, y));
                errors.luma = std::max(errors.luma, std::abs(yuvOf(color)[0] - sample(0, x, y)));
                for (std::size_t k = 0; k < 3; ++k) mean[k] += color[k] / 4;
            }
            const auto yuv = yuvOf(mean);
            for (int plane = 1; plane < 3; ++plane) {
                const double actual = sample(plane, column / 2, row / 2);
                errors.chroma =
                    std::max(errors.chroma, std::abs(yuv[static_cast<std::size_t>(plane)] - actual));
            }
        }
    }
    return errors;
}

TEST(ConvertTest, everyColourIsRoundedOnce) {
    // All of blue, every third of green, every fifth of red, and their ends; rubbish for alpha.
    std::vector<std::uint32_t> reds;
    for (std::uint32_t red = 0; red <= 255; red += 5) reds.push_back(red);
    for (const std::uint32_t red : reds) {
        const auto source = drawn(PixelFormat::bgrx, 256, 86, [&](int column, int row) {
            const auto green = static_cast<std::uint32_t>(std::min(row * 3, 255));
            return static_cast<std::uint32_t>(column) | green << 8 | red << 16 | red * 7 << 24;
        });
        const Errors errors = conversionErrors(*source);
        EXPECT_LE(errors.luma, kTolerance) << red;
        EXPECT_LE(errors.chroma, kTolerance) << red;
    }
}

TEST(ConvertTest, everyWidthIsConvertedToItsEnd) {
    forEachVectorTarget([] {
        for (int width = 2; width <= 200; width += 2) {
            const auto source = noise(PixelFormat::bgrx, width, 4, static_cast<unsigned>(width));
            const Errors errors = conversionErrors(*source);
            EXPECT_LE(errors.luma, kTolerance) << width;
            EXPECT_LE(errors.chroma, kTolerance) << width;
        }
    });
}

TEST(ConvertTest, theEndsOfTheRangeAreExact) {
    struct Case {
        std::uint32_t pixel;
        int luma, blue, red;
    };
    const Case cases[] = {{0xFF000000, 16, 128, 128}, {0xFFFFFFFF, 235, 128, 128},
                          {0xFF0000FF, 32, 240, 118}, {0xFFFF0000, 63, 102, 240},
                          {0xFF00FF00, 173, 42, 26},  {0xFF808080, 126, 128, 128}};
    for (const auto& [pixel, luma, blue, red] : cases) {
        const auto source = drawn(PixelFormat::bgra, 2, 2, [&](int, int) { return pixel; });
        const auto target = PixelBuffer::make(PixelFormat::i420, 2, 2);
        ImageContext(1).render(Image::pixels(source), *target, {0, 0, 2, 2});
        EXPECT_EQ(target->plane(0).data[0], luma);
        EXPECT_EQ(target->plane(1).data[0], blue);
        EXPECT_EQ(target->plane(2).data[0], red);
    }
}

}  // namespace
}  // namespace kasto::test
