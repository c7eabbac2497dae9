#include "imaging/ImageContext.h"
#include "imaging/PixelBuffer.h"
#include "imaging/ReferenceImage.h"
#include "imaging/VectorTargets.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace kasto::test {
namespace {

// What rounding once leaves, and what the weights may be off.
constexpr double kTolerance = 0.5 + 0.05;

void expectConverted(const PixelBufferRef& source) {
    const Rect whole{0, 0, static_cast<double>(source->width()), static_cast<double>(source->height())};
    expectLooksAs(ReferenceImage::pixels(source), PixelFormat::i420, whole, kTolerance);
}

TEST(ConvertTest, everyColourIsRoundedOnce) {
    // All of blue, every third of green, every fifth of red, and their ends; rubbish for alpha.
    for (std::uint32_t red = 0; red <= 255; red += 5) {
        SCOPED_TRACE(red);
        expectConverted(drawn(PixelFormat::bgrx, 256, 86, [&](int column, int row) {
            const auto green = static_cast<std::uint32_t>(std::min(row * 3, 255));
            return static_cast<std::uint32_t>(column) | green << 8 | red << 16 | red * 7 << 24;
        }));
    }
}

TEST(ConvertTest, everyWidthIsConvertedToItsEnd) {
    forEachVectorTarget([] {
        for (int width = 2; width <= 200; width += 2) {
            SCOPED_TRACE(width);
            expectConverted(noise(PixelFormat::bgrx, width, 4, static_cast<unsigned>(width)));
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
