#pragma once

#include "imaging/PixelBuffer.h"
#include "linux/pipewire/camera/CameraFormat.h"

#include <spa/buffer/buffer.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace kasto::pipewire {

// Converts the buffers that a camera delivers to bgrx pictures in reusable buffers. One thread at a time.
class CameraPictures {
public:
    explicit CameraPictures(const CameraFormat& format);

    // A copy of the buffer's picture. Empty if the buffer is damaged or shorter than its format requires, or
    // if too many pictures are still in use.
    PixelBufferRef convert(const spa_buffer& buffer);

private:
    struct EndJpeg {
        void operator()(void* decoder) const;
    };
    struct Source {
        const std::uint8_t* data;
        int strideBytes;
    };
    std::vector<Source> planesOf(const spa_buffer& buffer) const;
    bool draw(const spa_buffer& buffer, const Plane& picture);
    bool drawYuy2(const Source& source, const Plane& picture);
    bool drawJpeg(const spa_buffer& buffer, const Plane& picture);

    const CameraFormat format_;
    PixelBufferPool pool_;
    std::vector<std::uint8_t> planar_;  // yuy2 as planes, for colours that libyuv converts only from planes
    std::unique_ptr<void, EndJpeg> jpeg_;
};

}  // namespace kasto::pipewire
