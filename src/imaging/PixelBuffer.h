#pragma once

#include "base/Geometry.h"
#include "base/Result.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <utility>

namespace kasto {

enum class PixelFormat {
    bgra,  // one plane, 4 bytes a pixel, sRGB, alpha premultiplied
    bgrx,  // the same without alpha: the fourth byte is undefined, every pixel opaque
    i420,  // three planes, chroma halved in both directions, BT.709 limited range
};

struct Plane {
    std::uint8_t* data = nullptr;
    std::ptrdiff_t strideBytes = 0;  // of bgra and bgrx a whole number of pixels
    int width = 0;                   // in samples
    int height = 0;                  // in rows
};

class PixelBuffer;

// A counted reference to a pixel buffer. The count is in the buffer, so copying a reference allocates
// nothing. When the last reference is dropped, the buffer returns to its pool, is freed, or its `release` is
// called.
class PixelBufferRef {
public:
    PixelBufferRef() = default;
    PixelBufferRef(const PixelBufferRef& other);
    PixelBufferRef(PixelBufferRef&& other) noexcept : buffer_(std::exchange(other.buffer_, nullptr)) {}
    PixelBufferRef& operator=(PixelBufferRef other) noexcept {
        std::swap(buffer_, other.buffer_);
        return *this;
    }
    ~PixelBufferRef();

    explicit operator bool() const { return buffer_ != nullptr; }
    PixelBuffer* operator->() const { return buffer_; }
    PixelBuffer& operator*() const { return *buffer_; }
    PixelBuffer* get() const { return buffer_; }
    bool operator==(const PixelBufferRef&) const = default;

private:
    friend class PixelBuffer;
    friend class PixelBufferPool;
    explicit PixelBufferRef(PixelBuffer* buffer);  // adds one to the count
    PixelBuffer* buffer_ = nullptr;
};

// A picture in memory. It is filled by a single owner and read-only once other threads have references to it.
class PixelBuffer {
public:
    // A buffer with its own memory: rows aligned to 64 bytes, content undefined. Sizes are in pixels and
    // positive, and even for i420. Throws std::bad_alloc if there is no memory.
    static PixelBufferRef make(PixelFormat format, int width, int height);

    // A buffer over memory that belongs to the caller, for example shared memory of the display server. The
    // memory must stay valid until `release` is called, on the thread that drops the last reference.
    static PixelBufferRef wrap(PixelFormat format, int width, int height, std::span<const Plane> planes,
                               std::move_only_function<void()> release);

    PixelFormat format() const { return format_; }
    int width() const { return width_; }
    int height() const { return height_; }
    int planeCount() const { return format_ == PixelFormat::i420 ? 3 : 1; }
    const Plane& plane(int index) const { return planes_[static_cast<std::size_t>(index)]; }

    PixelBuffer(const PixelBuffer&) = delete;
    PixelBuffer& operator=(const PixelBuffer&) = delete;
    ~PixelBuffer();

private:
    friend class PixelBufferRef;
    friend class PixelBufferPool;
    struct PoolState;
    PixelBuffer() = default;
    void retain();
    void release();

    PixelFormat format_ = PixelFormat::bgra;
    int width_ = 0;
    int height_ = 0;
    std::array<Plane, 3> planes_{};
    std::unique_ptr<std::uint8_t, void (*)(void*)> memory_{nullptr, nullptr};
    std::move_only_function<void()> lent_;
    std::shared_ptr<PoolState> pool_;  // set while the buffer is in use
    std::atomic<int> references_ = 0;
};

// Reusable buffers of one format and size. Any thread. Buffers that are in use when the pool is destroyed are
// freed when their last reference is dropped.
class PixelBufferPool {
public:
    // At most `limit` buffers exist at a time; each is made when it is first needed.
    PixelBufferPool(PixelFormat format, int width, int height, int limit);
    ~PixelBufferPool();
    PixelBufferPool(const PixelBufferPool&) = delete;
    PixelBufferPool& operator=(const PixelBufferPool&) = delete;

    // A buffer with no other reference and undefined content; empty when all buffers are in use.
    PixelBufferRef take();

    PixelFormat format() const { return format_; }
    int width() const { return width_; }
    int height() const { return height_; }

private:
    PixelFormat format_;
    int width_;
    int height_;
    std::shared_ptr<PixelBuffer::PoolState> state_;
};

}  // namespace kasto
