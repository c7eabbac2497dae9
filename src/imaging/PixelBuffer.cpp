#include "imaging/PixelBuffer.h"

#include "base/Guarded.h"

#include <cassert>
#include <cstdlib>
#include <new>
#include <vector>

namespace kasto {

namespace {

constexpr std::size_t kRowAlignment = 64;

std::size_t alignedUp(std::size_t bytes) {
    return (bytes + kRowAlignment - 1) / kRowAlignment * kRowAlignment;
}

}  // namespace

struct PixelBuffer::PoolState {
    struct Shelf {
        std::vector<PixelBuffer*> free;
        int made = 0;
        int limit = 0;
        bool closed = false;
    };
    Guarded<Shelf> shelf;

    // False if the pool was destroyed; the caller has to free the buffer then.
    bool putBack(PixelBuffer* buffer) {
        return shelf.with([&](Shelf& s) {
            if (!s.closed) s.free.push_back(buffer);
            return !s.closed;
        });
    }
};

PixelBufferRef::PixelBufferRef(PixelBuffer* buffer) : buffer_(buffer) {
    if (buffer_) buffer_->retain();
}

PixelBufferRef::PixelBufferRef(const PixelBufferRef& other) : PixelBufferRef(other.buffer_) {}

PixelBufferRef::~PixelBufferRef() {
    if (buffer_) buffer_->release();
}

PixelBufferRef PixelBuffer::make(PixelFormat format, int width, int height) {
    assert(width > 0 && height > 0);
    auto* buffer = new PixelBuffer;
    PixelBufferRef ref(buffer);
    buffer->format_ = format;
    buffer->width_ = width;
    buffer->height_ = height;

    const bool planar = format == PixelFormat::i420;
    std::size_t total = 0;
    for (int i = 0; i < buffer->planeCount(); ++i) {
        auto& plane = buffer->planes_[static_cast<std::size_t>(i)];
        plane.width = i == 0 ? width : width / 2;
        plane.height = i == 0 ? height : height / 2;
        plane.strideBytes =
            static_cast<std::ptrdiff_t>(alignedUp(static_cast<std::size_t>(plane.width) * (planar ? 1 : 4)));
        total += static_cast<std::size_t>(plane.strideBytes) * static_cast<std::size_t>(plane.height);
    }
    auto* memory = static_cast<std::uint8_t*>(std::aligned_alloc(kRowAlignment, alignedUp(total)));
    if (!memory) throw std::bad_alloc();
    buffer->memory_ = {memory, std::free};
    for (int i = 0; i < buffer->planeCount(); ++i) {
        auto& plane = buffer->planes_[static_cast<std::size_t>(i)];
        plane.data = memory;
        memory += plane.strideBytes * plane.height;
    }
    return ref;
}

PixelBufferRef PixelBuffer::wrap(PixelFormat format, int width, int height, std::span<const Plane> planes,
                                 std::move_only_function<void()> release) {
    auto* buffer = new PixelBuffer;
    PixelBufferRef ref(buffer);
    buffer->format_ = format;
    buffer->width_ = width;
    buffer->height_ = height;
    assert(planes.size() == static_cast<std::size_t>(buffer->planeCount()));
    std::copy(planes.begin(), planes.end(), buffer->planes_.begin());
    buffer->lent_ = std::move(release);
    return ref;
}

PixelBuffer::~PixelBuffer() {
    if (lent_) lent_();
}

void PixelBuffer::retain() { references_.fetch_add(1, std::memory_order_relaxed); }

void PixelBuffer::release() {
    if (references_.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
    const auto pool = std::exchange(pool_, nullptr);
    if (!pool || !pool->putBack(this)) delete this;
}

PixelBufferPool::PixelBufferPool(PixelFormat format, int width, int height, int limit)
    : format_(format), width_(width), height_(height), state_(std::make_shared<PixelBuffer::PoolState>()) {
    state_->shelf.with([&](auto& shelf) {
        shelf.limit = limit;
        shelf.free.reserve(static_cast<std::size_t>(limit));
    });
}

PixelBufferPool::~PixelBufferPool() {
    std::vector<PixelBuffer*> free;
    state_->shelf.with([&](auto& shelf) {
        shelf.closed = true;
        free.swap(shelf.free);
    });
    for (auto* buffer : free) delete buffer;
}

PixelBufferRef PixelBufferPool::take() {
    PixelBuffer* kept = nullptr;
    const bool mayMake = state_->shelf.with([&](auto& shelf) {
        if (!shelf.free.empty()) {
            kept = shelf.free.back();
            shelf.free.pop_back();
            return false;
        }
        if (shelf.made == shelf.limit) return false;
        ++shelf.made;
        return true;
    });
    if (!kept && !mayMake) return {};
    auto ref = kept ? PixelBufferRef(kept) : PixelBuffer::make(format_, width_, height_);
    ref->pool_ = state_;
    return ref;
}

}  // namespace kasto
