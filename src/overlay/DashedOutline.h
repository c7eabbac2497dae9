#pragma once

#include "base/Geometry.h"

#include <vector>

namespace kasto {

// The dashed outline of a rectangle, whose dashes move along it. Everything lies on whole pixels, so that no
// pixel is blended: moving the dashes costs only a few fills.
struct DashedOutline {
    PixelRect outerPx;  // the outer edge of the line; empty if the rectangle is too small for one
    int linePx = 0;     // the line's width
    double onPx = 0;    // the length of a dash
    double offPx = 0;   // and of the gap after it
    int phasePx = 0;    // where in the pattern of dash and gap the line begins: top-left, then clockwise

    bool operator==(const DashedOutline&) const = default;

    // The four sides of the line with its gaps filled, cut to `view`.
    std::vector<PixelRect> sides(const PixelRect& view) const;

    // The dashes, cut to `view`.
    std::vector<PixelRect> dashes(const PixelRect& view) const;
};

// The outline whose line follows `path`, given in points, on a screen of `scale` pixels per point. The time
// says how far the dashes have moved.
DashedOutline dashedOutline(const Rect& path, double scale, double timeS);

}  // namespace kasto
