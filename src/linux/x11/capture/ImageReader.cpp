#include "linux/x11/capture/ImageReader.h"

#include "linux/x11/capture/ReadPlan.h"
#include "linux/x11/server/Rectangles.h"

#include <array>
#include <cstring>

namespace kasto::x11 {

ImageReader::ImageReader(const Connection& connection, ReadMethod method) : connection_(connection) {
    auto* c = connection.raw();
    const Reply<xcb_shm_query_version_reply_t> version(
        xcb_shm_query_version_reply(c, xcb_shm_query_version(c), nullptr));
    if (method != ReadMethod::best || !version || !version->shared_pixmaps ||
        version->pixmap_format != XCB_IMAGE_FORMAT_Z_PIXMAP)
        return;
    copyGc_ = {connection, xcb_generate_id(c)};
    const std::array<std::uint32_t, 2> values{XCB_SUBWINDOW_MODE_INCLUDE_INFERIORS, 0};
    xcb_create_gc(c, copyGc_.id(), connection.root(), XCB_GC_SUBWINDOW_MODE | XCB_GC_GRAPHICS_EXPOSURES,
                  values.data());
}

Result<Region> ImageReader::request(std::uint32_t drawable, int dx, int dy, const Region& part,
                                    const PictureSet& pictures, Picture& into) {
    if (part.isEmpty()) return Region();
    const auto rects = planReads(part, pictures.area());
    // The server packs the rows of an image. An image of the picture's width can therefore be read into the
    // picture itself, which is the cheapest way; a narrower one would have to be copied once more.
    if (copyGc_ && (rects.size() > 1 || rects.front().width < pictures.width())) {
        copyInServer(drawable, dx, dy, part, pictures, into);
        return part;
    }
    for (const auto& rect : rects) {
        const auto target = rect.width == pictures.width() ? Target::picture : Target::scratch;
        if (auto asked = ask(drawable, dx, dy, rect, target, Region(rect), pictures, into); !asked)
            return std::unexpected(asked.error());
    }
    xcb_flush(connection_.raw());
    return Region(rects);
}

Result<void> ImageReader::requestExactly(std::uint32_t pixmap, const Region& part, const PictureSet& pictures,
                                         Picture& into) {
    if (part.isEmpty()) return {};
    if (copyGc_) {
        copyInServer(pixmap, 0, 0, part, pictures, into);
        return {};
    }
    for (const auto& rect : planReads(part, pictures.area())) {
        const auto wanted = intersected(part, Region(rect));
        if (auto asked = ask(pixmap, 0, 0, rect, Target::scratch, wanted, pictures, into); !asked)
            return asked;
    }
    xcb_flush(connection_.raw());
    return {};
}

// Uses the picture's memory as a pixmap: the server makes one copy into it, clipped to the part.
void ImageReader::copyInServer(std::uint32_t drawable, int dx, int dy, const Region& part,
                               const PictureSet& pictures, Picture& into) {
    auto* c = connection_.raw();
    if (into.pixmap == XCB_NONE) {
        into.pixmap = xcb_generate_id(c);
        xcb_shm_create_pixmap(c, into.pixmap, connection_.root(),
                              static_cast<std::uint16_t>(pictures.width()),
                              static_cast<std::uint16_t>(pictures.height()), connection_.screen().root_depth,
                              into.memory.segment(), 0);
    }
    const auto clip = toXcb(part.rects());
    xcb_set_clip_rectangles(c, XCB_CLIP_ORDERING_YX_BANDED, copyGc_.id(), 0, 0,
                            static_cast<std::uint32_t>(clip.size()), clip.data());
    const auto bounds = toXcb(part.bounds());
    xcb_copy_area(c, drawable, into.pixmap, copyGc_.id(), static_cast<std::int16_t>(bounds.x + dx),
                  static_cast<std::int16_t>(bounds.y + dy), bounds.x, bounds.y, bounds.width, bounds.height);
    xcb_flush(c);
    copied_.unite(part);
}

Result<void> ImageReader::ask(std::uint32_t drawable, int dx, int dy, const PixelRect& rect, Target target,
                              const Region& part, const PictureSet& pictures, Picture& into) {
    constexpr std::uint32_t kAllPlanes = ~0u;
    const bool inPlace = target == Target::picture;
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
    if (!copied_.isEmpty()) {
        // The server answers requests in order: after any reply the copies are done.
        auto* c = connection_.raw();
        const Reply<xcb_get_input_focus_reply_t> reply(
            xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr));
        const auto copied = std::exchange(copied_, {});
        if (!reply) refused.unite(copied);
    }
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
