#include "linux/x11/ImageReader.h"

#include "linux/x11/ReadPlan.h"

#include <cstring>

namespace kasto::x11 {

Result<void> ImageReader::request(std::uint32_t drawable, int dx, int dy, std::span<const PixelRect> rects,
                                  const PictureSet& pictures, Picture& into) {
    for (const auto& rect : rects) {
        // The server packs the rows: only rectangles of the picture's width can go straight into place.
        const Way way = rect.width == pictures.width() ? Way::inPlace : Way::viaScratch;
        if (auto asked = ask(drawable, dx, dy, rect, way, Region(rect), pictures, into); !asked) return asked;
    }
    xcb_flush(connection_.raw());
    return {};
}

Result<void> ImageReader::requestPart(std::uint32_t drawable, const Region& part, const PictureSet& pictures,
                                      Picture& into) {
    for (const auto& rect : planReads(part, pictures.area())) {
        const auto wanted = intersected(part, Region(rect));
        if (auto asked = ask(drawable, 0, 0, rect, Way::viaScratch, wanted, pictures, into); !asked)
            return asked;
    }
    xcb_flush(connection_.raw());
    return {};
}

Result<void> ImageReader::ask(std::uint32_t drawable, int dx, int dy, const PixelRect& rect, Way way,
                              const Region& part, const PictureSet& pictures, Picture& into) {
    constexpr std::uint32_t kAllPlanes = ~0u;
    const bool inPlace = way == Way::inPlace;
    const auto bytes = static_cast<std::size_t>(rect.width) * static_cast<std::size_t>(rect.height) * 4;
    if (!inPlace && !scratch_) {
        auto made = SharedMemory::make(connection_, into.memory.bytes());
        if (!made) return std::unexpected(made.error());
        scratch_.emplace(std::move(*made));
    }
    if (!inPlace && scratchUsed_ + bytes > scratch_->bytes()) refused_ = finish();
    const auto& memory = inPlace ? into.memory : *scratch_;
    const auto offset = inPlace ? static_cast<std::size_t>(rect.y) * pictures.strideBytes() : scratchUsed_;
    const auto cookie =
        xcb_shm_get_image(connection_.raw(), drawable, static_cast<std::int16_t>(rect.x + dx),
                          static_cast<std::int16_t>(rect.y + dy), static_cast<std::uint16_t>(rect.width),
                          static_cast<std::uint16_t>(rect.height), kAllPlanes, XCB_IMAGE_FORMAT_Z_PIXMAP,
                          memory.segment(), static_cast<std::uint32_t>(offset));
    pending_.push_back(
        {cookie, rect, part, inPlace ? nullptr : memory.data() + offset, &into, pictures.strideBytes()});
    if (!inPlace) scratchUsed_ += bytes;
    return {};
}

void ImageReader::copyFromScratch(const Pending& read) {
    const auto scratchStride = static_cast<std::size_t>(read.rect.width) * 4;
    for (const auto& rect : read.part.rects()) {
        const auto* from = read.scratch + static_cast<std::size_t>(rect.y - read.rect.y) * scratchStride +
                           static_cast<std::size_t>(rect.x - read.rect.x) * 4;
        auto* to = read.into->memory.data() + static_cast<std::size_t>(rect.y) * read.strideBytes +
                   static_cast<std::size_t>(rect.x) * 4;
        for (int y = 0; y < rect.height; ++y, from += scratchStride, to += read.strideBytes)
            std::memcpy(to, from, static_cast<std::size_t>(rect.width) * 4);
    }
}

Region ImageReader::finish() {
    Region refused = std::exchange(refused_, {});
    for (const auto& read : pending_) {
        const Reply<xcb_shm_get_image_reply_t> reply(
            xcb_shm_get_image_reply(connection_.raw(), read.cookie, nullptr));
        if (!reply) {
            refused.unite(read.rect);
        } else if (read.scratch) {
            copyFromScratch(read);
        }
    }
    pending_.clear();
    scratchUsed_ = 0;
    return refused;
}

}  // namespace kasto::x11
