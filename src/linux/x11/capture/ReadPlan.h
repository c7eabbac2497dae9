#pragma once

#include "linux/x11/server/Region.h"

#include <vector>

namespace kasto::x11 {

// The rectangles to request from the server so that every pixel of `needed` is read, all inside `area`. Each
// request has a fixed cost, so near rectangles are joined into their bounding box, and the whole area is read
// when most of it is needed. Any thread.
std::vector<PixelRect> planReads(const Region& needed, const PixelRect& area);

}  // namespace kasto::x11
