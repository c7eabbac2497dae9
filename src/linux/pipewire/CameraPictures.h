#pragma once

#include "imaging/PixelBuffer.h"
#include "linux/pipewire/CameraFormat.h"

#include <spa/buffer/buffer.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace kasto::pipewire {

// Turns what a camera delivers into pictures (bgrx), in buffers that are used again. One thread at a time.
class CameraPictures {
public:
    explicit CameraPictures(const CameraFormat& format);

    // A picture of its own with what the buffer shows; none where the buffer is damaged, holds less than the
    // format takes, or too many pictures are still in use.
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
    std::vector<std::uint8_t> planar_;  // a yuy2 picture on its way, where its colours take two steps
    std::unique_ptr<void, EndJpeg> jpeg_;
};

}  // namespace kasto::pipewire
