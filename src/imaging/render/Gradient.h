#pragma once

#include "base/Geometry.h"
#include "imaging/Image.h"
#include "imaging/ImageNode.h"
#include "imaging/kernels/Kernels.h"
#include "imaging/render/ColumnRun.h"
#include "imaging/render/Resampling.h"

namespace kasto {

// A colour as the kernels take it: premultiplied, clamped to 0…1, with 8 fractional bits a channel.
FineColor fineColor(const Color& color);

// The same colour rounded to a pixel.
Pixel roundedColor(const FineColor& color);

// A radial gradient placed in the render target. It is an ellipse where the axes are scaled differently.
// Positions are target pixels, the origin is the top left corner; radii are in the image's own units.
struct Gradient {
    double centerX = 0;
    double centerY = 0;
    double scaleX = 1;       // target pixels per unit of the radii
    double unitsPerRow = 1;  // units of the radii per target row
    double radius0 = 0;
    double radius1 = 0;
    bool isOpaqueInside = false;   // inside radius0
    bool vanishesOutside = false;  // outside radius1
    GradientRun constant{};        // all of a run that does not depend on its position

    static Gradient placed(const ImageNode::RadialGradient& gradient, const Placement& at);

    // The columns inside `within` whose pixel centres are nearer than `radius` to the centre in this row,
    // plus at most one column at each end.
    ColumnRun columns(double radius, int row, ColumnRun within) const;

    // The same, except that at most one column at each end is missing: every column returned lies inside.
    ColumnRun columnsInside(double radius, int row, ColumnRun within) const;

    // The part of `clip` outside of which the gradient is transparent.
    PixelRect visibleBox(const PixelRect& clip) const;

    // The kernels' input for pixels that begin at this row and column.
    GradientRun run(int row, int column) const;
};

}  // namespace kasto
