#include "imaging/render/RenderPlan.h"

#include <algorithm>
#include <cmath>

namespace kasto {

std::optional<std::size_t> RenderPlan::discOf(const Step& step) const {
    if (step.kind == Step::Kind::drawDisc) return step.disc;
    if (step.kind != Step::Kind::draw || step.drawing.replaces) return std::nullopt;
    return step.drawing.leaf == Draw::Leaf::gradient ? step.drawing.index : step.drawing.disc;
}

ColumnRun RenderPlan::changedColumns(const Step& step, int top, int bottom) const {
    const ColumnRun whole = columnsOf(step.box);
    const auto disc = discOf(step);
    if (!disc || !gradients_[*disc].vanishesOutside) return whole;
    const Gradient& gradient = gradients_[*disc];
    const int widest = std::clamp(static_cast<int>(std::floor(gradient.centerY)), top, bottom - 1);
    return gradient.columns(gradient.radius1, widest, whole);
}

ColumnRun RenderPlan::occludedColumns(const Step& step, int top, int bottom) const {
    const Draw& drawing = step.drawing;
    const auto disc = discOf(step);
    const bool isOpaqueDisc =
        disc && (step.kind == Step::Kind::drawDisc ? drawing.replaces : drawing.leaf == Draw::Leaf::pixels);
    const bool isOpaque = step.kind == Step::Kind::draw && drawing.replaces;
    if (!isOpaque && !isOpaqueDisc) return {};
    if (step.layer != 0 || top < drawing.box.y || bottom > drawing.box.maxY()) return {};
    const ColumnRun columns = columnsOf(drawing.box);
    if (isOpaque) return columns;
    // A disc is narrowest in its first or last row.
    const Gradient& gradient = gradients_[*disc];
    return gradient.columnsInside(gradient.radius0, top, columns)
        .intersection(gradient.columnsInside(gradient.radius0, bottom - 1, columns));
}

}  // namespace kasto
