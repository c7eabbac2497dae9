#include "imaging/Image.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace kasto {
namespace {

const Image kRed = Image::color({1, 0, 0, 1});

TEST(ImageTest, whatCannotBeSeenIsNoImage) {
    const Image small = Image::pixels(PixelBuffer::make(PixelFormat::bgrx, 10, 6));
    const Image images[] = {Image::pixels({}), Image::radialGradient({0, 0}, 2, {}, 2, {}),
                            small.scaled(0, 1), small.cropped({20, 0, 5, 5}), small.cropped({1, 1, 0, 5})};
    for (const Image& image : images) EXPECT_EQ(image.extent(), Rect{}) << &image - images;
    EXPECT_EQ(Image::blend(kRed, small, {}).extent(), (Rect{0, 0, 10, 6}));
    EXPECT_EQ(kRed.over(small).extent(), std::nullopt);
}

TEST(ImageTest, isMadeAndDroppedByManyThreadsAndKeepsItsBuffer) {
    bool isReleased = false;
    std::vector<std::uint8_t> memory(4 * 4 * 4);
    const Plane plane{memory.data(), 16, 4, 4};
    Image shared = Image::pixels(PixelBuffer::wrap(PixelFormat::bgrx, 4, 4, std::span(&plane, 1), [&] {
                       isReleased = true;
                   })).scaled(2, 2);
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
    EXPECT_EQ(shared.extent(), (Rect{0, 0, 8, 8}));
    EXPECT_FALSE(isReleased);
    shared = kRed;
    EXPECT_TRUE(isReleased);
}

TEST(PixelBufferPoolTest, buffersAreNobodyElsesAndOutliveTheirPool) {
    auto pool = std::make_unique<PixelBufferPool>(PixelFormat::bgra, 4, 4, 3);
    const auto fill = [](const PixelBufferRef& buffer, std::uint8_t value) {
        buffer->plane(0).data[5] = value;
        ASSERT_EQ(buffer->plane(0).data[5], value);
    };
    std::vector<std::jthread> threads;
    for (std::uint8_t i = 0; i < 4; ++i) {
        threads.emplace_back([&, i] {
            for (int round = 0; round < 3000; ++round)
                if (const auto buffer = pool->take()) fill(buffer, i);
        });
    }
    threads.clear();
    const std::vector all{pool->take(), pool->take(), pool->take()};
    EXPECT_FALSE(pool->take());
    pool.reset();
    for (const auto& buffer : all) fill(buffer, 9);
}

}  // namespace
}  // namespace kasto
