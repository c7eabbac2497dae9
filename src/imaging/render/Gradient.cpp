#include "imaging/render/Gradient.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace kasto {

namespace {

std::uint32_t fineChannel(double level) {
    return static_cast<std::uint32_t>(std::lround(std::clamp(level, 0.0, 1.0) * 0xFF00));
}

Pixel roundedChannel(std::uint32_t fine) { return (fine + 128) >> 8; }

Color opaque(Color color) {
    color.alpha = 1;
    return color;
}

}  // namespace

FineColor fineColor(const Color& color) {
    const double alpha = std::clamp(color.alpha, 0.0, 1.0);
    return {fineChannel(color.blue * alpha) | fineChannel(color.red * alpha) << 16,
            fineChannel(color.green * alpha) | fineChannel(alpha) << 16};
}

Pixel roundedColor(const FineColor& color) {
    return roundedChannel(color.blueRed & 0xFFFF) | roundedChannel(color.greenAlpha & 0xFFFF) << 8 |
           roundedChannel(color.blueRed >> 16) << 16 | roundedChannel(color.greenAlpha >> 16) << 24;
}

Gradient Gradient::placed(const ImageNode::RadialGradient& gradient, const Placement& at) {
    return {.centerX = at.tx + at.sx * gradient.center.x,
            .centerY = at.ty - at.sy * gradient.center.y,
            .scaleX = at.sx,
            .unitsPerRow = 1 / at.sy,
            .radius0 = gradient.radius0,
            .radius1 = gradient.radius1,
            .isOpaqueInside = gradient.inner.alpha >= 1,
            .vanishesOutside = gradient.outer.alpha <= 0,
            .constant = {.stepX = static_cast<float>(1 / at.sx),
                         .stepY = static_cast<float>(1 / at.sy),
                         .radius0 = static_cast<float>(gradient.radius0),
                         .perRadius = static_cast<float>(1 / (gradient.radius1 - gradient.radius0)),
                         .inner = fineColor(gradient.inner),
                         .outer = fineColor(gradient.outer),
                         .innerColor = roundedColor(fineColor(opaque(gradient.inner))),
                         .innerAlpha = static_cast<float>(std::clamp(gradient.inner.alpha, 0.0, 1.0))}};
}

ColumnRun Gradient::columns(double radius, int row, ColumnRun within) const {
    const double y = (row + 0.5 - centerY) * unitsPerRow;
    const double squared = radius * radius - y * y;
    if (squared <= 0) return {within.begin, within.begin};
    const double half = std::sqrt(squared) * scaleX;
    // Columns are never negative, so the conversion to int rounds down.
    const auto clamped = [&](double column) {
        return static_cast<int>(
            std::clamp(column, static_cast<double>(within.begin), static_cast<double>(within.end)));
    };
    return {clamped(centerX - half - 0.5), clamped(centerX + half + 1.5)};
}

ColumnRun Gradient::columnsInside(double radius, int row, ColumnRun within) const {
    const ColumnRun around = columns(radius, row, {within.begin - 2, within.end + 2});
    return ColumnRun{around.begin + 2, around.end - 2}.intersection(within);
}

PixelRect Gradient::visibleBox(const PixelRect& clip) const {
    if (!vanishesOutside) return clip;
    const Placement circle{scaleX, 1 / unitsPerRow, centerX, centerY};
    return coveredPixels({-radius1, -radius1, 2 * radius1, 2 * radius1}, circle, clip);
}

GradientRun Gradient::run(int row, int column) const {
    GradientRun run = constant;
    run.firstX = static_cast<float>((column + 0.5 - centerX) * run.stepX);
    run.firstY = static_cast<float>((row + 0.5 - centerY) * run.stepY);
    return run;
}

}  // namespace kasto
