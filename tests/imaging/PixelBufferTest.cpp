#include "imaging/PixelBuffer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <thread>
#include <vector>

namespace kasto {
namespace {

TEST(PixelBufferTest, planesAreApartAndAligned) {
    struct Case {
        PixelFormat format;
        int width;
        int height;
        int planes;
    };
    const Case cases[] = {
        {PixelFormat::bgra, 7, 5, 1}, {PixelFormat::bgrx, 16, 1, 1}, {PixelFormat::i420, 18, 6, 3}};
    for (const auto& [format, width, height, planes] : cases) {
        const auto buffer = PixelBuffer::make(format, width, height);
        ASSERT_EQ(buffer->planeCount(), planes);
        const std::uint8_t* end = nullptr;
        for (int i = 0; i < planes; ++i) {
            const Plane& plane = buffer->plane(i);
            EXPECT_EQ(plane.width, i == 0 ? width : width / 2);
            EXPECT_EQ(plane.height, i == 0 ? height : height / 2);
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(plane.data) % 64, 0U);
            EXPECT_EQ(plane.strideBytes % 64, 0);
            EXPECT_GE(plane.strideBytes, plane.width * (planes == 1 ? 4 : 1));
            EXPECT_TRUE(!end || plane.data >= end);
            end = plane.data + plane.strideBytes * plane.height;
        }
    }
}

TEST(PixelBufferPoolTest, handsOutItsLimitAndTakesBack) {
    PixelBufferPool pool(PixelFormat::i420, 4, 2, 2);
    auto first = pool.take();
    const auto second = pool.take();
    ASSERT_TRUE(first && second);
    EXPECT_NE(first, second);
    EXPECT_FALSE(pool.take());

    const PixelBuffer* const address = first.get();
    auto copy = first;
    first = {};
    EXPECT_FALSE(pool.take());
    copy = {};
    const auto again = pool.take();
    EXPECT_EQ(again.get(), address);
}

TEST(PixelBufferPoolTest, buffersOutliveTheirPool) {
    std::optional<PixelBufferPool> pool(std::in_place, PixelFormat::bgra, 8, 8, 3);
    auto out = pool->take();
    pool->take();
    pool.reset();
    out->plane(0).data[8 * 32 - 1] = 1;
    EXPECT_EQ(out->width(), 8);
}

TEST(PixelBufferPoolTest, isSharedByThreads) {
    PixelBufferPool pool(PixelFormat::bgra, 4, 4, 3);
    std::vector<std::jthread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&pool, i] {
            for (int round = 0; round < 3000; ++round) {
                if (const auto buffer = pool.take()) {
                    buffer->plane(0).data[5] = static_cast<std::uint8_t>(i);
                    ASSERT_EQ(buffer->plane(0).data[5], i);
                }
            }
        });
    }
    threads.clear();
    const std::vector all{pool.take(), pool.take(), pool.take()};
    for (const auto& buffer : all) EXPECT_TRUE(buffer);
    EXPECT_FALSE(pool.take());
}

}  // namespace
}  // namespace kasto
