#pragma once

#include "imaging/PixelBuffer.h"
#include "linux/x11/capture/SharedMemory.h"
#include "linux/x11/server/Region.h"

#include <atomic>
#include <memory>
#include <vector>

namespace kasto::x11 {

// One picture in memory the server writes into; rows are packed, 4 bytes a pixel.
struct Picture {
    explicit Picture(SharedMemory shared) : memory(std::move(shared)) {}
    SharedMemory memory;
    std::uint32_t pixmap = 0;  // the same memory as a pixmap, once it is one; ends with the connection
    std::atomic<bool> isLent = false;
    Region stale;  // what differs from the newest picture
};

// The clean pixels of a rectangle of the newest picture that has something painted over them.
struct Patch {
    PixelRect box;
    std::vector<std::uint32_t> pixels;  // rows packed
};

// The pictures of a stream, each made when first needed. A picture is written only while nobody outside holds
// it and it is not the newest; the others follow by copying what differs. One thread at a time, but for the
// holders of what was published, who may be anywhere and may outlive the set.
class PictureSet {
public:
    PictureSet(const Connection& connection, int width, int height, int limit);

    int width() const { return width_; }
    int height() const { return height_; }
    std::size_t strideBytes() const { return static_cast<std::size_t>(width_) * 4; }
    PixelRect area() const { return {0, 0, width_, height_}; }

    // A picture to write the next one into; null when all are held. An error if there is no memory.
    Result<Picture*> takeFree();

    // Copies a part of the newest picture into `target`, the patch instead of what is painted over it.
    void copyNewest(const Region& part, const Patch& patch, Picture& target) const;

    // True if a part of `target` shows the same as the newest picture without what is painted over that.
    bool showsNewest(const Region& part, const Patch& patch, const Picture& target) const;

    // Makes `target` the newest picture, which differs from the former one in `changed`.
    PixelBufferRef publish(Picture& target, const Region& changed);

    bool hasNewest() const { return newest_ != nullptr; }

private:
    template <class Visit>
    void visitNewest(const Region& part, const Patch& patch, Visit&& visit) const;
    std::size_t offsetOf(const PixelRect& rect) const;

    const Connection& connection_;
    int width_;
    int height_;
    std::size_t limit_;
    std::vector<std::shared_ptr<Picture>> pictures_;
    std::shared_ptr<Picture> newest_;
};

}  // namespace kasto::x11
