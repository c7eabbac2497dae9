#include "linux/x11/capture/PictureSet.h"

#include <algorithm>
#include <cstring>

namespace kasto::x11 {

namespace {

void copyRows(const std::uint8_t* from, std::size_t fromStride, std::uint8_t* to, std::size_t toStride,
              const PixelRect& size) {
    const auto rowBytes = static_cast<std::size_t>(size.width) * 4;
    for (int y = 0; y < size.height; ++y, from += fromStride, to += toStride) std::memcpy(to, from, rowBytes);
}

}  // namespace

PictureSet::PictureSet(const Connection& connection, int width, int height, int limit)
    : connection_(connection), width_(width), height_(height), limit_(static_cast<std::size_t>(limit)) {}

Result<Picture*> PictureSet::takeFree() {
    for (const auto& picture : pictures_)
        // Pairs with the release by the last holder, so that its reads come before our writes.
        if (picture != newest_ && !picture->isLent.load(std::memory_order_acquire)) return picture.get();
    if (pictures_.size() >= limit_) return nullptr;
    auto memory = SharedMemory::make(connection_, strideBytes() * static_cast<std::size_t>(height_));
    if (!memory) {
        // A stream works with two pictures, though it makes fewer new ones while they are held.
        if (pictures_.size() >= 2) return nullptr;
        return std::unexpected(memory.error());
    }
    pictures_.push_back(std::make_shared<Picture>(std::move(*memory)));
    pictures_.back()->stale = Region(area());
    return pictures_.back().get();
}

std::size_t PictureSet::offsetOf(const PixelRect& rect) const {
    return static_cast<std::size_t>(rect.y) * strideBytes() + static_cast<std::size_t>(rect.x) * 4;
}

// Visits each rectangle of the part with its pixels without the cursor.
template <class Visit>
void PictureSet::visitNewest(const Region& part, const Patch& patch, Visit&& visit) const {
    if (!newest_) return;
    const Region patched(patch.box);
    for (const auto& rect : subtracted(part, patched).rects())
        visit(rect, newest_->memory.data() + offsetOf(rect), strideBytes());
    const auto patchStride = static_cast<std::size_t>(patch.box.width) * 4;
    for (const auto& rect : intersected(part, patched).rects()) {
        const auto* from = reinterpret_cast<const std::uint8_t*>(patch.pixels.data()) +
                           static_cast<std::size_t>(rect.y - patch.box.y) * patchStride +
                           static_cast<std::size_t>(rect.x - patch.box.x) * 4;
        visit(rect, from, patchStride);
    }
}

void PictureSet::copyNewest(const Region& part, const Patch& patch, Picture& target) const {
    visitNewest(part, patch, [&](const PixelRect& rect, const std::uint8_t* from, std::size_t stride) {
        copyRows(from, stride, target.memory.data() + offsetOf(rect), strideBytes(), rect);
    });
}

bool PictureSet::showsNewest(const Region& part, const Patch& patch, const Picture& target) const {
    bool isSame = newest_ != nullptr;
    visitNewest(part, patch, [&](const PixelRect& rect, const std::uint8_t* from, std::size_t stride) {
        const auto* row = target.memory.data() + offsetOf(rect);
        const auto rowBytes = static_cast<std::size_t>(rect.width) * 4;
        for (int y = 0; isSame && y < rect.height; ++y, from += stride, row += strideBytes())
            isSame = std::memcmp(from, row, rowBytes) == 0;
    });
    return isSame;
}

PixelBufferRef PictureSet::publish(Picture& target, const Region& changed) {
    for (const auto& picture : pictures_) {
        picture->stale.unite(changed);
        if (picture.get() == &target) newest_ = picture;
    }
    target.stale = {};
    target.isLent.store(true, std::memory_order_relaxed);
    const Plane plane{target.memory.data(), static_cast<std::ptrdiff_t>(strideBytes()), width_, height_};
    // The buffer keeps the memory, so that it stays readable after the stream is gone.
    return PixelBuffer::wrap(PixelFormat::bgrx, width_, height_, std::span(&plane, 1),
                             [kept = newest_] { kept->isLent.store(false, std::memory_order_release); });
}

}  // namespace kasto::x11
