#include "imaging/ImageContext.h"
#include "imaging/ReferenceImage.h"
#include "imaging/VectorTargets.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace kasto::test {
namespace {

constexpr std::uint32_t kBlack = 0xFF000000;
constexpr std::uint32_t kWhite = 0xFFFFFFFF;

PixelBufferRef rendered(const Image& image, int width, int height, PixelFormat format = PixelFormat::bgra) {
    auto target = PixelBuffer::make(format, width, height);
    ImageContext(1).render(image, *target, {0, 0, static_cast<double>(width), static_cast<double>(height)});
    return target;
}

// Where the light of a row is centred.
double centerOfLight(const PixelBuffer& buffer, int row) {
    double light = 0;
    double moment = 0;
    for (int column = 0; column < buffer.width(); ++column) {
        const double level = pixelAt(buffer, column, row) & 0xFF;
        light += level;
        moment += level * (column + 0.5);
    }
    return moment / light;
}

TEST(ResampleTest, aPictureMovesAsFarAsItsOrigin) {
    // A soft spot in the middle of a row.
    const auto spot = drawn(PixelFormat::bgrx, 64, 1, [](int column, int) {
        const double level = 255 * std::exp(-std::pow((column - 31.5) / 5, 2));
        return static_cast<std::uint32_t>(std::lround(level)) * 0x010101U;
    });
    for (const double scale : {1.0, 1.9, 4.0, 0.7}) {
        const auto placed = [&](double shift) {
            return rendered(Image::pixels(spot).scaled(scale, 1).translated(shift, 0), 280, 1);
        };
        const double start = centerOfLight(*placed(0), 0);
        for (int tenth = 1; tenth <= 20; ++tenth) {
            EXPECT_NEAR(centerOfLight(*placed(tenth / 10.0), 0) - start, tenth / 10.0, 0.03)
                << "scale " << scale;
        }
    }
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

TEST(ResampleTest, theLastRowOfABufferIsAtTheBottom) {
    const auto source =
        drawn(PixelFormat::bgrx, 2, 4, [](int, int row) { return row == 3 ? kWhite : kBlack; });
    const auto target = rendered(Image::pixels(source).cropped({0, 0, 2, 1}).scaled(2, 2), 4, 8);
    for (int row = 0; row < 8; ++row) {
        const std::uint32_t expected = row < 6 ? 0 : row == 6 ? 0xFFBFBFBF : kWhite;
        EXPECT_EQ(pixelAt(*target, 1, row), expected) << row;
    }
}

TEST(ResampleTest, cropsDoNotChangeWhatTheirNeighboursLend) {
    // Half a white pixel in from a crop's edge, the black beyond it is still mixed in.
    const auto source =
        drawn(PixelFormat::bgrx, 4, 1, [](int column, int) { return column < 2 ? kBlack : kWhite; });
    const auto target = rendered(Image::pixels(source).cropped({2, 0, 2, 1}).scaled(4, 1), 16, 1);
    const std::uint32_t levels[] = {0x9F, 0xDF, 0xFF, 0xFF};
    EXPECT_EQ(pixelAt(*target, 7, 0), 0U);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(pixelAt(*target, 8 + i, 0) & 0xFF, levels[i]);
}

TEST(ResampleTest, reducingAveragesWhatEachPixelCovers) {
    // Every fourth column is white: a quarter of the light, wherever the picture lies.
    const auto source =
        drawn(PixelFormat::bgrx, 400, 8, [](int column, int) { return column % 4 == 0 ? kWhite : kBlack; });
    for (const double shift : {0.0, 0.3, 0.5}) {
        const auto target = rendered(Image::pixels(source).scaled(0.25, 0.25).translated(shift, 0), 100, 2);
        for (int column = 1; column < 99; ++column) EXPECT_NEAR(pixelAt(*target, column, 1) & 0xFF, 63.75, 1);
    }
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
