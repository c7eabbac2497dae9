#include "imaging/Image.h"
#include "imaging/ImageContext.h"
#include "imaging/PixelBuffer.h"
#include "imaging/ReferenceImage.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace kasto::test {
namespace {

const Image kRed = Image::color({1, 0, 0, 1});

Image picture(int width, int height) {
    return Image::pixels(PixelBuffer::make(PixelFormat::bgrx, width, height));
}

TEST(ImageTest, extentsFollowTheOperations) {
    struct Case {
        const char* what;
        Image image;
        std::optional<Rect> extent;
    };
    const Image small = picture(10, 6);
    const Case cases[] = {
        {"empty", Image{}, Rect{}},
        {"colour", kRed, std::nullopt},
        {"gradient", Image::radialGradient({0, 0}, 1, {}, 2, {}), std::nullopt},
        {"moved colour", kRed.scaled(2, 3).translated(1, 1), std::nullopt},
        {"pixels", small, Rect{0, 0, 10, 6}},
        {"crop of a colour", kRed.cropped({1, 2, 3, 4}), Rect{1, 2, 3, 4}},
        {"crop of pixels", small.cropped({-5, 4, 8, 8}), Rect{0, 4, 3, 2}},
        {"crop beside the pixels", small.cropped({20, 0, 5, 5}), Rect{}},
        {"crop to nothing", small.cropped({1, 1, 0, 5}), Rect{}},
        {"scaled, then moved", small.scaled(2, 0.5).translated(1, -1), Rect{1, -1, 20, 3}},
        {"moved, then scaled", small.translated(1, -1).scaled(2, 0.5), Rect{2, -0.5, 20, 3}},
        {"over", small.translated(20, 0).over(small), Rect{0, 0, 30, 6}},
        {"over nothing", small.over(Image{}), Rect{0, 0, 10, 6}},
        {"infinite over finite", kRed.over(small), std::nullopt},
        {"blend", Image::blend(small, small.translated(0, 6), kRed), Rect{0, 0, 10, 12}},
        {"blend without mask", Image::blend(kRed, small, Image{}), Rect{0, 0, 10, 6}},
        {"no buffer", Image::pixels({}), Rect{}},
        {"gradient without ring", Image::radialGradient({0, 0}, 2, {}, 2, {}), Rect{}},
        {"scaled to nothing", small.scaled(0, 1), Rect{}},
    };
    for (const Case& test : cases) EXPECT_EQ(test.image.extent(), test.extent) << test.what;
}

TEST(ImageTest, keepsItsBufferAsLongAsItLives) {
    bool isReleased = false;
    std::vector<std::uint8_t> memory(4 * 4 * 4);
    const Plane plane{memory.data(), 16, 4, 4};
    auto buffer =
        PixelBuffer::wrap(PixelFormat::bgrx, 4, 4, std::span(&plane, 1), [&] { isReleased = true; });
    Image image = Image::pixels(buffer).scaled(2, 2).over(kRed);
    buffer = {};
    Image copy = image;
    image = Image{};
    EXPECT_FALSE(isReleased);
    image = copy;
    copy = Image{};
    image = kRed;
    EXPECT_TRUE(isReleased);
}

TEST(ImageTest, isMadeAndDroppedByManyThreads) {
    const Image shared = picture(8, 8).scaled(2, 2);
    std::vector<std::jthread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&shared, i] {
            for (int round = 0; round < 2000; ++round) {
                Image image = shared;
                for (int k = 0; k < 5; ++k) image = image.translated(i + 1, k + 1).over(kRed);
                ASSERT_FALSE(image.extent());
            }
        });
    }
    threads.clear();
    EXPECT_EQ(shared.extent(), (Rect{0, 0, 16, 16}));
}

}  // namespace
}  // namespace kasto::test
