#include "linux/x11/exclusion/Underlay.h"

#include "linux/x11/server/Rectangles.h"

#include <xcb/composite.h>

namespace kasto::x11 {

Underlay::Underlay(const Connection& connection, const PixelRect& area)
    : connection_(connection),
      area_(area),
      formats_(readPictFormats(connection)),
      pixmap_(connection, xcb_generate_id(connection.raw())),
      picture_(connection, xcb_generate_id(connection.raw())),
      background_(connection, area, formats_[connection.screen().root_visual].id) {
    auto* c = connection.raw();
    xcb_composite_redirect_subwindows(c, connection.root(), XCB_COMPOSITE_REDIRECT_AUTOMATIC);
    xcb_create_pixmap(c, connection.screen().root_depth, pixmap_.id(), connection.root(),
                      static_cast<std::uint16_t>(area.width), static_cast<std::uint16_t>(area.height));
    xcb_render_create_picture(c, picture_.id(), pixmap_.id(), formats_[connection.screen().root_visual].id, 0,
                              nullptr);
}

Underlay::~Underlay() {
    xcb_composite_unredirect_subwindows(connection_.raw(), connection_.root(),
                                        XCB_COMPOSITE_REDIRECT_AUTOMATIC);
}

void Underlay::leaveUnredirected(std::uint32_t window) {
    if (!unredirected_.insert(window).second) return;
    xcb_composite_unredirect_window(connection_.raw(), window, XCB_COMPOSITE_REDIRECT_AUTOMATIC);
}

void Underlay::compose(const Region& part, const std::vector<TopLevel>& windows, bool hasCompositingManager) {
    setClip(part);
    background_.paint(picture_.id(), hasCompositingManager);
    for (const auto& top : windows) {
        const auto visible = intersected(part, top.area);
        if (visible.isEmpty()) continue;
        setClip(visible);
        paint(top, hasCompositingManager);
    }
}

void Underlay::setClip(const Region& clip) {
    const auto rects = toXcb(clip.rects());
    xcb_render_set_picture_clip_rectangles(connection_.raw(), picture_.id(), 0, 0,
                                           static_cast<std::uint32_t>(rects.size()), rects.data());
}

void Underlay::paint(const TopLevel& top, bool hasCompositingManager) {
    constexpr double kOpaque = 0.999;
    constexpr double kMaxAlpha = 65535;
    auto* c = connection_.raw();
    const auto format = formats_.find(top.visual);
    if (format == formats_.end()) return;
    // If the window is gone by now, the server refuses these requests, and an event announces the change.
    const PixmapObject content(connection_, xcb_generate_id(c));
    xcb_composite_name_window_pixmap(c, top.id, content.id());
    const RenderPicture source(connection_, xcb_generate_id(c));
    const std::uint32_t inferiors = XCB_SUBWINDOW_MODE_INCLUDE_INFERIORS;
    xcb_render_create_picture(c, source.id(), content.id(), format->second.id, XCB_RENDER_CP_SUBWINDOW_MODE,
                              &inferiors);
    // Without a compositing manager the server ignores the alpha of windows.
    const bool isTranslucent = hasCompositingManager && top.opacity < kOpaque;
    RenderPicture mask;
    if (isTranslucent) {
        mask = {connection_, xcb_generate_id(c)};
        xcb_render_create_solid_fill(c, mask.id(),
                                     {0, 0, 0, static_cast<std::uint16_t>(top.opacity * kMaxAlpha)});
    }
    const bool blends = isTranslucent || (hasCompositingManager && format->second.hasAlpha);
    xcb_render_composite(c, blends ? XCB_RENDER_PICT_OP_OVER : XCB_RENDER_PICT_OP_SRC, source.id(), mask.id(),
                         picture_.id(), 0, 0, 0, 0, static_cast<std::int16_t>(top.outer.x),
                         static_cast<std::int16_t>(top.outer.y), static_cast<std::uint16_t>(top.outer.width),
                         static_cast<std::uint16_t>(top.outer.height));
}

}  // namespace kasto::x11
