#pragma once

#include "linux/x11/server/Region.h"

#include <vector>

namespace kasto::x11 {

// The rectangles to ask the server for so that every pixel of `needed` is read, all inside `area`: fewer and
// larger than those of the region where that is cheaper, all of the area when most of it is needed.
std::vector<PixelRect> planReads(const Region& needed, const PixelRect& area);

}  // namespace kasto::x11
