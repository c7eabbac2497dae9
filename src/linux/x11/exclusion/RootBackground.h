#pragma once

#include "linux/x11/server/Connection.h"
#include "linux/x11/server/Region.h"

#include <xcb/render.h>

namespace kasto::x11 {

using PixmapObject = ServerObject<xcb_free_pixmap>;
using RenderPicture = ServerObject<xcb_render_free_picture>;

// What the root window shows where no window is: a pixmap that the desktop announces, or the background the
// server paints, or the colour compositing managers use. One thread.
class RootBackground {
public:
    RootBackground(const Connection& connection, const PixelRect& area, xcb_render_pictformat_t format);

    // True if the event announces that the background has changed.
    bool noteProperty(const xcb_property_notify_event_t& event);

    // The background may have changed unannounced: it is looked up again before the next use.
    void invalidate() { isKnown_ = false; }

    // Paints it over a RENDER picture of the size of `area`, within the clip of that picture. Blocks for a
    // round trip when the background has to be looked up.
    void paint(xcb_render_picture_t picture, bool hasCompositingManager);

    // True for the window that was mapped for a moment to look the background up: its events mean nothing.
    bool isProbe(std::uint32_t window) const { return window == probe_; }

private:
    void learn(bool hasCompositingManager);
    xcb_pixmap_t announcedPixmap() const;
    void probe();

    const Connection& connection_;
    PixelRect area_;
    xcb_render_pictformat_t format_;
    xcb_atom_t rootPixmap_;
    xcb_atom_t otherRootPixmap_;
    bool isKnown_ = false;
    xcb_pixmap_t announced_ = XCB_NONE;
    bool wasManaged_ = false;
    PixmapObject probed_;
    std::uint32_t probe_ = XCB_NONE;
};

}  // namespace kasto::x11
