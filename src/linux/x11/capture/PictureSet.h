#pragma once

#include "imaging/PixelBuffer.h"
#include "linux/x11/capture/SharedMemory.h"
#include "linux/x11/server/Region.h"

#include <atomic>
#include <memory>
#include <vector>

namespace kasto::x11 {

// One picture in memory that the server writes into. Rows are packed, 4 bytes a pixel.
struct Picture {
    explicit Picture(SharedMemory shared) : memory(std::move(shared)) {}
    SharedMemory memory;
    std::uint32_t pixmap = 0;  // the same memory as a pixmap of the server; 0 until it is first needed
    std::atomic<bool> isLent = false;  // published and still held outside the set
    Region stale;                      // where it may differ from the newest picture
};

// The screen's pixels in a rectangle of the newest picture, where the cursor is painted over them.
struct Patch {
    PixelRect box;
    std::vector<std::uint32_t> pixels;  // rows packed
};

// The pictures of a stream, each made when it is first needed. Published pictures never change while they are
// held, so each new one is made in a free picture: the changed part is read from the server, and what else
// differs is copied from the newest picture. One thread at a time; published buffers may be held and released
// on any thread, and may outlive the set.
class PictureSet {
public:
    PictureSet(const Connection& connection, int width, int height, int limit);

    int width() const { return width_; }
    int height() const { return height_; }
    std::size_t strideBytes() const { return static_cast<std::size_t>(width_) * 4; }
    PixelRect area() const { return {0, 0, width_, height_}; }

    // A picture that is neither the newest nor held, to make the next one in. Null if there is none. Fails if
    // there is no memory for the first two.
    Result<Picture*> takeFree();

    // Copies a part of the newest picture into `target`, with the patch in place of the cursor.
    void copyNewest(const Region& part, const Patch& patch, Picture& target) const;

    // True if a part of `target` equals the newest picture with the patch in place of the cursor.
    bool showsNewest(const Region& part, const Patch& patch, const Picture& target) const;

    // Makes `target` the newest picture, and hands it out. `changed` is where it may differ from the one
    // before.
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
