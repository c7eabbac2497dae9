#pragma once

#include "base/Geometry.h"
#include "model/RenderSnapshot.h"

#include <algorithm>

namespace kasto {

// Measures of what is drawn into a frame, in pixels of the captured picture or of the frame alike.

// The square a pulse or held disc is cut to; nothing of it shows outside.
inline Rect discBounds(Point center, double radius) {
    constexpr double kMarginPx = 2;
    return Rect{center.x, center.y, 0, 0}.grown(radius + kMarginPx);
}

// How far the webcam tile's border reaches beyond the tile.
inline double tileBorderWidth(double frameWidth) {
    constexpr double kOfWidth = 1.0 / 800;
    constexpr double kNarrowestPx = 3;
    return std::max(frameWidth * kOfWidth, kNarrowestPx);
}

}  // namespace kasto
