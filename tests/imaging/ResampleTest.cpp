#include "imaging/ImageContext.h"
#include "imaging/ReferenceImage.h"
#include "imaging/VectorTargets.h"

#include <gtest/gtest.h>

#include <vector>

namespace kasto::test {
namespace {

PixelBufferRef rendered(const Image& image, int width, int height) {
    auto target = PixelBuffer::make(PixelFormat::bgra, width, height);
    ImageContext(1).render(image, *target, {0, 0, static_cast<double>(width), static_cast<double>(height)});
    return target;
}

TEST(ResampleTest, wholePlacesAreCopied) {
    const auto source = noise(PixelFormat::bgra, 37, 23, 4);
    const auto target = rendered(Image::pixels(source).translated(3, 5), 50, 40);
    for (int row = 0; row < 23; ++row) {
        for (int column = 0; column < 37; ++column) {
            ASSERT_EQ(pixelAt(*target, column + 3, 40 - 5 - 23 + row), pixelAt(*source, column, row));
        }
    }
    EXPECT_EQ(pixelAt(*target, 2, 12), 0U);
    EXPECT_EQ(pixelAt(*target, 40, 34), 0U);
}

TEST(ResampleTest, evenAreasStayAsTheyAre) {
    forEachVectorTarget([] {
        for (const std::uint32_t level : {0U, 1U, 127U, 128U, 254U, 255U}) {
            const std::uint32_t pixel = 0xFF000000 | level * 0x010101;
            const auto source = drawn(PixelFormat::bgra, 31, 17, [&](int, int) { return pixel; });
            for (const double scale : {0.11, 0.37, 0.99, 1.0, 1.01, 2.0, 7.3}) {
                const Image image = Image::pixels(source).translated(0.2, 0.1).scaled(scale, scale * 1.1);
                const auto target = rendered(image.over(Image::color({0, 0, 0, 0})), 3, 2);
                EXPECT_EQ(pixelAt(*target, 1, 0), pixel) << scale;
            }
        }
    });
}

// Rows and columns of all lengths, so that every part of a vector is left over once; and rows that fill their
// memory to the last byte.
TEST(ResampleTest, oddSizesTouchNothingElse) {
    forEachVectorTarget([] {
        for (int width = 1; width <= 70; ++width) {
            std::vector<std::uint32_t> memory(static_cast<std::size_t>(width) * 3, 0x80402010);
            const Plane plane{reinterpret_cast<std::uint8_t*>(memory.data()), width * 4, width, 3};
            const auto source = PixelBuffer::wrap(PixelFormat::bgrx, width, 3, std::span(&plane, 1), [] {});
            std::vector<std::uint32_t> drawnTo(memory.size() + 1, 7);
            const Plane drawnPlane{reinterpret_cast<std::uint8_t*>(drawnTo.data()), width * 4, width, 3};
            const auto target =
                PixelBuffer::wrap(PixelFormat::bgra, width, 3, std::span(&drawnPlane, 1), [] {});
            const Rect bounds{0, 0, static_cast<double>(width), 3};
            const Image images[] = {
                Image::pixels(source), Image::pixels(source).scaled(1.5, 1.5),
                Image::pixels(source).scaled(1.5, 1).translated(-0.5 * width, 0),
                Image::pixels(source).translated(-3, 0).scaled(0.5, 0.5).over(Image::pixels(source))};
            for (const Image& image : images) {
                ImageContext(1).render(image, *target, bounds);
                EXPECT_EQ(drawnTo[0], 0xFF402010) << width;
                EXPECT_EQ(drawnTo.back(), 7U) << width;
            }
        }
    });
}

}  // namespace
}  // namespace kasto::test
