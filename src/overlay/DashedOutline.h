#pragma once

#include "base/Geometry.h"

#include <vector>

namespace kasto {

// The outline of a rectangle in moving dashes, on whole pixels: no pixel of it is blended, so a step of the
// dashes is a few fills.
struct DashedOutline {
    PixelRect outerPx;  // the outer edge of the line; empty when there is nothing to draw
    int linePx = 0;
    double onPx = 0;
    double offPx = 0;
    int phasePx = 0;  // how far into its pattern the line begins, at its top-left corner and clockwise

    bool operator==(const DashedOutline&) const = default;

    // The line as a whole: its four sides, as far as they are in `view`.
    std::vector<PixelRect> sides(const PixelRect& view) const;

    // The dashes, as far as they are in `view`.
    std::vector<PixelRect> dashes(const PixelRect& view) const;
};

// The outline whose line has `path`, in points, in its middle, on a screen of `scale` pixels a point. `timeS`
// moves the dashes.
DashedOutline dashedOutline(const Rect& path, double scale, double timeS);

}  // namespace kasto
