#pragma once

#include "linux/x11/server/Connection.h"
#include "linux/x11/server/Region.h"

#include <xcb/render.h>

namespace kasto::x11 {

using PixmapObject = ServerObject<xcb_free_pixmap>;
using RenderPicture = ServerObject<xcb_render_free_picture>;

// What the root window shows where no window is. One thread.
class RootBackground {
public:
    RootBackground(const Connection& connection, const PixelRect& area, xcb_render_pictformat_t format);

    // True if the event says that the background may be another now.
    bool noteProperty(const xcb_property_notify_event_t& event);

    // To be looked up again before the next use.
    void invalidate() { isKnown_ = false; }

    // Paints it over a picture of the size of `area`, within its clip.
    void paint(xcb_render_picture_t picture, bool hasCompositingManager);

    // True for the window that is shown to the server for a moment to learn the background.
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
