#include "imaging/render/LayerPainter.h"

#include <algorithm>

namespace kasto {

namespace {

// One cache line. Layer rows are this much longer than needed: rows a power of two apart would compete for
// the same cache sets.
constexpr int kRowSkewPx = 64;

}  // namespace

void LayerPainter::begin(const RenderPlan& plan, PixelBuffer& target) {
    plan_ = &plan;
    target_ = &target;
    isPlanar_ = target.format() == PixelFormat::i420;
    const auto width = static_cast<std::size_t>(target.width());
    stride_ = ColumnRun{0, target.width()}.alignedOut(kRowSkewPx).end + kRowSkewPx;
    const int ownLayers = plan.layerCount() - (isPlanar_ ? 0 : 1);
    layers_.reserve(static_cast<std::size_t>(stride_ * kGroupRows * ownLayers));
    drawnRow_.reserve(width);
    savedRow_.reserve(width);
    for (std::size_t i = 0; i < plan.resamplingCount(); ++i) pictures_.prepare(i, plan.resampling(i));
}

PixelRows LayerPainter::layerRows(int layer, int row) const {
    if (!isPlanar_) {
        const Plane& plane = target_->plane(0);
        if (layer == 0) {
            return {reinterpret_cast<Pixel*>(plane.data + row * plane.strideBytes),
                    plane.strideBytes / static_cast<std::ptrdiff_t>(sizeof(Pixel))};
        }
        --layer;
    }
    return {layers_.data() + (layer * kGroupRows + row - top_) * stride_, stride_};
}

void LayerPainter::execute(const Step& step, int top, int bottom, ColumnRun columns) {
    top = std::max(top, step.box.y);
    bottom = std::min(bottom, step.box.maxY());
    if (columns.isEmpty() || top >= bottom) return;
    const PixelRows target = layerRows(step.layer, top);
    if (step.kind == Step::Kind::draw) return draw(step.drawing, top, bottom, columns, target);
    for (int row = top; row < bottom; ++row) {
        Pixel* const pixels = target.row(row - top);
        if (step.kind == Step::Kind::drawDisc) {
            drawDisc(step, row, columns, pixels);
        } else if (step.kind == Step::Kind::clear) {
            std::fill_n(pixels + columns.begin, columns.count(), 0);
        } else if (step.kind == Step::Kind::copy) {
            std::copy_n(layerRows(step.other, row).first + columns.begin, columns.count(),
                        pixels + columns.begin);
        } else {
            kernels::mixRow(layerRows(step.other, row).first + columns.begin, pixels + columns.begin,
                            layerRows(step.mask, row).first + columns.begin, columns.count(),
                            pixels + columns.begin);
        }
    }
}

void LayerPainter::drawPicture(const Step& step, int top, int bottom, ColumnRun columns) {
    pictures_.draw(step.drawing.index, top, bottom, columns, layerRows(0, top));
}

void LayerPainter::draw(const Draw& drawing, int top, int bottom, ColumnRun columns,
                        const PixelRows& target) {
    if (drawing.leaf == Draw::Leaf::gradient) return drawGradient(drawing, top, bottom, columns, target);
    if (drawing.leaf == Draw::Leaf::pixels && drawing.replaces)
        return pictures_.draw(drawing.index, top, bottom, columns, target);
    if (drawing.leaf == Draw::Leaf::pixels && plan_->resampling(drawing.index).filter() == Filter::nearest) {
        return kernels::overRows(plan_->resampling(drawing.index).sourceAt(top, columns.begin),
                                 columns.count(), bottom - top,
                                 {target.first + columns.begin, target.stride});
    }
    for (int row = top; row < bottom; ++row) {
        Pixel* const pixels = target.row(row - top) + columns.begin;
        if (drawing.leaf == Draw::Leaf::pixels) {
            pictures_.draw(drawing.index, row, row + 1, columns, {drawnRow_.data()});
            kernels::overRows({drawnRow_.data() + columns.begin}, columns.count(), 1, {pixels});
        } else if (drawing.replaces) {
            std::fill_n(pixels, columns.count(), plan_->solid(drawing.index).pixel);
        } else {
            kernels::colorOverRow(plan_->solid(drawing.index).fine, columns.count(), pixels);
        }
    }
}

void LayerPainter::drawGradient(const Draw& drawing, int top, int bottom, ColumnRun columns,
                                const PixelRows& target) {
    // Beyond its end the gradient is transparent, so drawing full vectors there changes nothing.
    if (drawing.endsInside) {
        columns = columns.alignedOut(kComposeColumns).intersection({0, target_->width()});
    }
    kernels::gradientOverRows(plan_->gradient(drawing.index).run(top, columns.begin), columns.count(),
                              bottom - top, {target.first + columns.begin, target.stride});
}

// The drawing replaces the layer's pixels in all columns of the disc. Where the disc's edge is soft, the
// former pixels are saved before and mixed back in.
void LayerPainter::drawDisc(const Step& step, int row, ColumnRun columns, Pixel* target) {
    const Gradient& disc = plan_->gradient(step.disc);
    const ColumnRun whole = columns;
    columns = disc.columns(disc.radius1, row, whole);
    if (columns.isEmpty()) return;
    columns = columns.alignedOut(kComposeColumns).intersection(whole);
    ColumnRun inside = disc.columnsInside(disc.radius0, row, columns).alignedIn(kComposeColumns);
    if (inside.isEmpty()) inside = {columns.end, columns.end};
    const ColumnRun edges[2] = {{columns.begin, inside.begin}, {inside.end, columns.end}};

    for (const ColumnRun edge : edges) {
        std::copy_n(target + edge.begin, edge.count(), savedRow_.data() + edge.begin);
    }
    const ColumnRun drawn =
        holdsRow(step.drawing.box, row) ? columns.intersection(columnsOf(step.drawing.box)) : ColumnRun{};
    if (drawn.count() < columns.count() || !step.drawing.replaces)
        std::fill_n(target + columns.begin, columns.count(), step.backdrop);
    if (!drawn.isEmpty()) draw(step.drawing, row, row + 1, drawn, {target});
    for (const ColumnRun edge : edges) {
        if (edge.isEmpty()) continue;
        kernels::mixRowByGradient(disc.run(row, edge.begin), target + edge.begin,
                                  savedRow_.data() + edge.begin, edge.count(), target + edge.begin);
    }
}

}  // namespace kasto
