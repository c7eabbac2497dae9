#include "linux/pipewire/camera/CameraPictures.h"

#include <gtest/gtest.h>

#include <memory>

namespace kasto::pipewire {
namespace {

TEST(CameraPicturesTest, drawsWhatABufferHoldsAndNothingOfADamagedOne) {
    struct Case {
        CameraCoding coding;
        std::uint32_t memoryBytes, offset, size;
        int stride;
        bool isShown;
    };
    // Of 6 x 5 pixels.
    for (const auto& [coding, memoryBytes, offset, size, stride, isShown] : std::vector<Case>{
             {CameraCoding::bgrx, 120, 0, 120, 0, true},
             {CameraCoding::bgrx, 156, 4, 152, 32, true},  // the last row ends with its pixels
             {CameraCoding::bgrx, 119, 0, 120, 0, false},
             {CameraCoding::bgrx, 120, 4, 120, 0, false},
             {CameraCoding::bgrx, 120, 0xffffffff, 0xffffffff, 0, false},
             {CameraCoding::bgrx, 120, 0, 120, -24, false},
             {CameraCoding::bgrx, 120, 0, 120, 0x7fffffff, false},
             {CameraCoding::nv12, 48, 0, 48, 6, true},
             {CameraCoding::nv12, 47, 0, 47, 6, false},
             {CameraCoding::i420, 48, 0, 48, 6, true},
             {CameraCoding::i420, 39, 0, 48, 6, false},
             {CameraCoding::yuy2, 60, 0, 60, 12, true},
             {CameraCoding::yuy2, 60, 0, 60, 11, false},
             {CameraCoding::mjpeg, 60, 0, 60, 0, false},
             {CameraCoding::mjpeg, 0, 0, 0, 0, false},
         }) {
        const auto memory = std::make_unique<std::uint8_t[]>(memoryBytes);
        spa_chunk chunk{.offset = offset, .size = size, .stride = stride, .flags = 0};
        spa_data block{};
        block.maxsize = memoryBytes;
        block.data = memory.get();
        block.chunk = &chunk;
        const spa_buffer buffer{.n_metas = 0, .n_datas = 1, .metas = nullptr, .datas = &block};
        CameraPictures pictures({.coding = coding, .width = 6, .height = 5});
        EXPECT_EQ(static_cast<bool>(pictures.convert(buffer)), isShown)
            << static_cast<int>(coding) << " " << memoryBytes << " " << stride;
        const spa_buffer empty{};
        EXPECT_FALSE(pictures.convert(empty));
    }
}

}  // namespace
}  // namespace kasto::pipewire
