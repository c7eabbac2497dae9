#include "imaging/PixelBuffer.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace kasto {
namespace {

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
