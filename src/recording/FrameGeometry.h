#pragma once

#include "base/Geometry.h"
#include "imaging/PixelBuffer.h"

#include <cmath>

namespace kasto {

// The crop as it is drawn: its edges are rounded to 1/512 of a capture pixel. An eased view approaches its
// target for seconds in steps too small to change a colour; rounded, those crops are equal, and equal crops
// make equal frames. The rounding itself changes a colour by at most a quarter of a level out of 255.
inline Rect drawnCrop(const Rect& cropPx) {
    constexpr double kStepsPerPx = 512;
    const auto rounded = [](double px) { return std::round(px * kStepsPerPx) / kStepsPerPx; };
    const double left = rounded(cropPx.minX());
    const double top = rounded(cropPx.minY());
    return {left, top, rounded(cropPx.maxX()) - left, rounded(cropPx.maxY()) - top};
}

inline Size sizeOf(const PixelBuffer& picture) {
    return {static_cast<double>(picture.width()), static_cast<double>(picture.height())};
}

// The square that a pulse or held disc is cut to. Outside of it the disc has no effect on the frame.
inline Rect discBounds(Point center, double radius) {
    constexpr double kMarginPx = 2;
    return Rect{center.x, center.y, 0, 0}.grown(radius + kMarginPx);
}

}  // namespace kasto
