#include "linux/x11/exclusion/RootBackground.h"

#include "linux/x11/server/Rectangles.h"

#include <xcb/composite.h>
#include <xcb/shape.h>

#include <array>

namespace kasto::x11 {

namespace {

// What compositing managers paint where nothing else is and no pixmap was announced.
constexpr xcb_render_color_t kManagersDefault{0x8080, 0x8080, 0x8080, 0xffff};

}  // namespace

RootBackground::RootBackground(const Connection& connection, const PixelRect& area,
                               xcb_render_pictformat_t format)
    : connection_(connection),
      area_(area),
      format_(format),
      rootPixmap_(connection.atom("_XROOTPMAP_ID")),
      otherRootPixmap_(connection.atom("ESETROOT_PMAP_ID")) {}

bool RootBackground::noteProperty(const xcb_property_notify_event_t& event) {
    if (event.window != connection_.root()) return false;
    if (event.atom != rootPixmap_ && event.atom != otherRootPixmap_) return false;
    isKnown_ = false;
    return true;
}

xcb_pixmap_t RootBackground::announcedPixmap() const {
    auto* c = connection_.raw();
    for (const auto atom : {rootPixmap_, otherRootPixmap_}) {
        const Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
            c, xcb_get_property(c, 0, connection_.root(), atom, XCB_ATOM_PIXMAP, 0, 1), nullptr));
        if (reply && reply->format == 32 && xcb_get_property_value_length(reply.get()) == 4)
            return *static_cast<const xcb_pixmap_t*>(xcb_get_property_value(reply.get()));
    }
    return XCB_NONE;
}

void RootBackground::learn(bool hasCompositingManager) {
    isKnown_ = true;
    wasManaged_ = hasCompositingManager;
    announced_ = announcedPixmap();
    if (announced_ == XCB_NONE && !hasCompositingManager) probe();
}

// Clients cannot read the root window's background where windows cover it. A window whose background is
// "parent relative" is painted with it: one of the whole screen's size, below all others and redirected so
// that it is not visible, has a pixmap that shows just the background.
void RootBackground::probe() {
    auto* c = connection_.raw();
    const auto& screen = connection_.screen();
    probe_ = xcb_generate_id(c);
    const std::array<std::uint32_t, 2> values{XCB_BACK_PIXMAP_PARENT_RELATIVE, 1};
    xcb_create_window(c, XCB_COPY_FROM_PARENT, probe_, connection_.root(), 0, 0, screen.width_in_pixels,
                      screen.height_in_pixels, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                      XCB_CW_BACK_PIXMAP | XCB_CW_OVERRIDE_REDIRECT, values.data());
    xcb_shape_rectangles(c, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_INPUT, XCB_CLIP_ORDERING_UNSORTED, probe_, 0, 0, 0,
                         nullptr);
    const std::uint32_t below = XCB_STACK_MODE_BELOW;
    xcb_configure_window(c, probe_, XCB_CONFIG_WINDOW_STACK_MODE, &below);
    xcb_composite_redirect_window(c, probe_, XCB_COMPOSITE_REDIRECT_MANUAL);
    xcb_map_window(c, probe_);
    const PixmapObject shown(connection_, xcb_generate_id(c));
    xcb_composite_name_window_pixmap(c, probe_, shown.id());
    probed_ = {connection_, xcb_generate_id(c)};
    xcb_create_pixmap(c, screen.root_depth, probed_.id(), connection_.root(),
                      static_cast<std::uint16_t>(area_.width), static_cast<std::uint16_t>(area_.height));
    const ServerObject<xcb_free_gc> gc(connection_, xcb_generate_id(c));
    const std::uint32_t noExposures = 0;
    xcb_create_gc(c, gc.id(), probed_.id(), XCB_GC_GRAPHICS_EXPOSURES, &noExposures);
    xcb_copy_area(c, shown.id(), probed_.id(), gc.id(), static_cast<std::int16_t>(area_.x),
                  static_cast<std::int16_t>(area_.y), 0, 0, static_cast<std::uint16_t>(area_.width),
                  static_cast<std::uint16_t>(area_.height));
    xcb_destroy_window(c, probe_);
}

void RootBackground::paint(xcb_render_picture_t picture, bool hasCompositingManager) {
    auto* c = connection_.raw();
    if (!isKnown_ || wasManaged_ != hasCompositingManager) learn(hasCompositingManager);
    const bool isProbed = announced_ == XCB_NONE && !hasCompositingManager;
    if (announced_ == XCB_NONE && !isProbed) {
        const auto whole = toXcb(PixelRect{0, 0, area_.width, area_.height});
        xcb_render_fill_rectangles(c, XCB_RENDER_PICT_OP_SRC, picture, kManagersDefault, 1, &whole);
        return;
    }
    // An announced pixmap is laid out from the root window's corner, the probed one shows the area only.
    const RenderPicture source(connection_, xcb_generate_id(c));
    const std::uint32_t repeat = XCB_RENDER_REPEAT_NORMAL;
    xcb_render_create_picture(c, source.id(), isProbed ? probed_.id() : announced_, format_,
                              XCB_RENDER_CP_REPEAT, &repeat);
    xcb_render_composite(c, XCB_RENDER_PICT_OP_SRC, source.id(), XCB_NONE, picture,
                         static_cast<std::int16_t>(isProbed ? 0 : area_.x),
                         static_cast<std::int16_t>(isProbed ? 0 : area_.y), 0, 0, 0, 0,
                         static_cast<std::uint16_t>(area_.width), static_cast<std::uint16_t>(area_.height));
}

}  // namespace kasto::x11
