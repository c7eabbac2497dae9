#pragma once

#include "linux/x11/server/Connection.h"

#include <xcb/render.h>

#include <map>

namespace kasto::x11 {

// How RENDER reads the windows of a visual.
struct PictFormat {
    xcb_render_pictformat_t id = XCB_NONE;
    bool hasAlpha = false;
};

// The formats of the server's visuals; a visual without one is not in it.
std::map<xcb_visualid_t, PictFormat> readPictFormats(const Connection& connection);

}  // namespace kasto::x11
