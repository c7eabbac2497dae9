#pragma once

#include "imaging/kernels/Kernels.h"

#include <cstddef>
#include <memory>
#include <new>

namespace kasto {

// Memory for pixels, aligned for vectors. It only grows; growing loses its content.
class PixelMemory {
public:
    void reserve(std::size_t pixels) {
        if (pixels <= capacity_) return;
        pixels_.reset(static_cast<Pixel*>(::operator new(pixels * sizeof(Pixel), kAlignment)));
        capacity_ = pixels;
    }

    Pixel* data() const { return pixels_.get(); }

private:
    static constexpr std::align_val_t kAlignment{64};
    struct Free {
        void operator()(Pixel* pixels) const { ::operator delete(pixels, kAlignment); }
    };
    std::unique_ptr<Pixel, Free> pixels_;
    std::size_t capacity_ = 0;
};

}  // namespace kasto
