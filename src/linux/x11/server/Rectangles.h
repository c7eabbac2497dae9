#pragma once

#include "base/Geometry.h"

#include <xcb/xcb.h>

#include <span>
#include <vector>

namespace kasto::x11 {

// Conversions between the program's rectangles and those of the X protocol, whose fields have 16 bits: a
// position must be within ±32767 and a size within 65535. Any thread.
xcb_rectangle_t toXcb(const PixelRect& rect);
std::vector<xcb_rectangle_t> toXcb(std::span<const PixelRect> rects);
std::vector<PixelRect> fromXcb(std::span<const xcb_rectangle_t> rects);

}  // namespace kasto::x11
