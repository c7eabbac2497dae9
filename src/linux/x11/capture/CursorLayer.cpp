#include "linux/x11/capture/CursorLayer.h"

#include <algorithm>

namespace kasto::x11 {

namespace {

// The operator "source over" for a premultiplied source and an opaque screen.
std::uint32_t over(std::uint32_t source, std::uint32_t screen) {
    const std::uint32_t transparency = 255 - (source >> 24);
    std::uint32_t mixed = 0;
    for (int shift = 0; shift < 24; shift += 8) {
        const std::uint32_t below = (screen >> shift & 255) * transparency;
        const std::uint32_t value = (source >> shift & 255) + (below + 127) / 255;
        mixed |= std::min(value, 255u) << shift;
    }
    return mixed | 0xff000000;
}

}  // namespace

CursorLayer::CursorLayer(const Connection& connection, const PixelRect& area)
    : connection_(connection), area_(area) {
    xcb_xfixes_select_cursor_input(connection.raw(), connection.root(),
                                   XCB_XFIXES_CURSOR_NOTIFY_MASK_DISPLAY_CURSOR);
}

void CursorLayer::noteEvent(const xcb_xfixes_cursor_notify_event_t& event) {
    serial_ = event.cursor_serial;
    imageChanged_ = !images_.contains(serial_);
}

void CursorLayer::fetchImage() {
    constexpr std::size_t kMaxKept = 32;
    auto* c = connection_.raw();
    imageChanged_ = false;
    const Reply<xcb_xfixes_get_cursor_image_reply_t> reply(
        xcb_xfixes_get_cursor_image_reply(c, xcb_xfixes_get_cursor_image(c), nullptr));
    // A server that has no cursor refuses the request, and no cursor is painted.
    if (!reply) return;
    const auto* pixels = xcb_xfixes_get_cursor_image_cursor_image(reply.get());
    const auto count = static_cast<std::size_t>(reply->width) * reply->height;
    if (images_.size() >= kMaxKept)
        std::erase_if(images_, [&](const auto& image) { return image.first != shown_.serial; });
    serial_ = reply->cursor_serial;
    images_[serial_] = {reply->width, reply->height, reply->xhot, reply->yhot, {pixels, pixels + count}};
}

bool CursorLayer::update() {
    auto* c = connection_.raw();
    const auto asked = xcb_query_pointer(c, connection_.root());
    if (imageChanged_) fetchImage();
    const Reply<xcb_query_pointer_reply_t> pointer(xcb_query_pointer_reply(c, asked, nullptr));
    next_ = {};
    const auto image = images_.find(serial_);
    if (pointer && pointer->same_screen && image != images_.end())
        next_ = {serial_, pointer->root_x - image->second.hotX - area_.x,
                 pointer->root_y - image->second.hotY - area_.y};
    if (boxOf(next_).isEmpty()) next_ = {};
    changedArea_ = {};
    if (next_ == shown_) return false;
    changedArea_ = Region(boxOf(shown_)).unite(boxOf(next_));
    return !changedArea_.isEmpty();
}

PixelRect CursorLayer::boxOf(const Place& place) const {
    const auto image = images_.find(place.serial);
    if (image == images_.end()) return {};
    return PixelRect{place.x, place.y, image->second.width, image->second.height}.intersection(
        {0, 0, area_.width, area_.height});
}

void CursorLayer::paint(const PictureSet& pictures, Picture& picture) {
    shown_ = next_;
    changedArea_ = {};
    patch_.box = boxOf(shown_);
    patch_.pixels.clear();
    if (patch_.box.isEmpty()) return;
    const auto& image = images_.at(shown_.serial);
    for (int y = patch_.box.y; y < patch_.box.maxY(); ++y) {
        auto* row = reinterpret_cast<std::uint32_t*>(picture.memory.data() +
                                                     static_cast<std::size_t>(y) * pictures.strideBytes());
        const auto* source = image.argb.data() + static_cast<std::ptrdiff_t>(y - shown_.y) * image.width;
        for (int x = patch_.box.x; x < patch_.box.maxX(); ++x) {
            patch_.pixels.push_back(row[x]);
            row[x] = over(source[x - shown_.x], row[x]);
        }
    }
}

}  // namespace kasto::x11
