#pragma once

#include "base/Geometry.h"

namespace kasto {

// The square that a pulse or held disc is cut to. Outside of it the disc has no effect on the frame.
inline Rect discBounds(Point center, double radius) {
    constexpr double kMarginPx = 2;
    return Rect{center.x, center.y, 0, 0}.grown(radius + kMarginPx);
}

}  // namespace kasto
