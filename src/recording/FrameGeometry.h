#pragma once

#include "base/Geometry.h"

namespace kasto {

// The square a pulse or held disc is cut to; nothing of it shows outside.
inline Rect discBounds(Point center, double radius) {
    constexpr double kMarginPx = 2;
    return Rect{center.x, center.y, 0, 0}.grown(radius + kMarginPx);
}

}  // namespace kasto
