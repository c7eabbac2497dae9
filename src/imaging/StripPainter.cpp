#include "imaging/StripPainter.h"

#include <algorithm>

namespace kasto {

namespace {

// Rows that are composed and converted together: as many as share their chroma.
constexpr int kBandRows = 2;

// Rows for which it is found out together what has to be done: about the size of a pulse's parts.
constexpr int kLookRows = 8;
static_assert(BlockSet::kSidePx % kLookRows == 0);

// Columns are converted by groups of this many, and composed by groups of that many, where the picture does
// not tell otherwise: vectors are whole then and lie where those before them lay.
constexpr int kConvertedGroup = 64;
constexpr int kComposedGroup = 16;

}  // namespace

void StripPainter::begin(const RenderPlan& plan, PixelBuffer& target) {
    plan_ = &plan;
    target_ = &target;
    isPlanar_ = target.format() == PixelFormat::i420;
    const Step& first = plan.steps().front();
    convertsBase_ = isPlanar_ && first.kind == Step::Kind::draw && first.drawing.leaf == Draw::Leaf::pixels &&
                    plan.resampling(first.drawing.index).way() == Resampling::Way::copy;

    mayHide_ = std::none_of(plan.steps().begin(), plan.steps().end(),
                            [](const Step& step) { return step.kind == Step::Kind::copy; });

    const auto width = static_cast<std::size_t>(target.width());
    stride_ = ColumnRun{0, target.width()}.alignedOut(kConvertedGroup).end;
    const int ownLayers = plan.layerCount() - (isPlanar_ ? 0 : 1);
    layers_.reserve(static_cast<std::size_t>(stride_ * kBandRows * ownLayers));
    drawn_.reserve(width);
    saved_.reserve(width);
    active_.reserve(plan.steps().size());
    touched_.reserve(plan.steps().size() + 1);
    wanted_.reserve(width / BlockSet::kSidePx + 1);
    for (std::size_t i = 0; i < plan.resamplingCount(); ++i) pictures_.prepare(i, plan.resampling(i));
}

Pixel* StripPainter::layerRow(int layer, int row) const {
    if (!isPlanar_) {
        const Plane& plane = target_->plane(0);
        if (layer == 0) return reinterpret_cast<Pixel*>(plane.data + row * plane.strideBytes);
        --layer;
    }
    return layers_.data() + (layer * kBandRows + row - top_) * stride_;
}

void StripPainter::paint(int top, int bottom, const BlockSet* only) {
    for (int look = top; look < bottom; look += kLookRows) {
        const int lookEnd = std::min(look + kLookRows, bottom);
        findWanted(look, only);
        if (wanted_.empty()) continue;
        findActive(look, lookEnd);
        for (int row = look; row < lookEnd; row += kBandRows)
            paintBand(row, std::min(row + kBandRows, lookEnd));
    }
}

void StripPainter::findWanted(int row, const BlockSet* only) {
    const ColumnRun whole{0, target_->width()};
    wanted_.clear();
    if (!only) return wanted_.push_back(whole);
    only->forEachRun(row / BlockSet::kSidePx, [&](int begin, int end) {
        const ColumnRun blocks{begin * BlockSet::kSidePx, end * BlockSet::kSidePx};
        wanted_.push_back(blocks.intersection(whole));
    });
}

void StripPainter::findActive(int top, int bottom) {
    active_.clear();
    touched_.clear();
    for (const Step& step : plan_->steps()) {
        const int first = std::max(top, step.box.y);
        const int last = std::min(bottom, step.box.maxY());
        if (first >= last) continue;
        active_.push_back(&step);
        if (!convertsBase_ || active_.size() == 1) continue;
        const ColumnRun columns = plan_->touchedColumns(step, first, last);
        if (columns.isEmpty()) continue;
        touched_.push_back(columns.alignedOut(kConvertedGroup).intersection({0, target_->width()}));
    }
    if (convertsBase_) {
        uniteTouched();
    } else {
        touched_.push_back({0, target_->width()});
    }
}

void StripPainter::uniteTouched() {
    if (touched_.empty()) return;
    std::sort(touched_.begin(), touched_.end(), [](ColumnRun a, ColumnRun b) { return a.begin < b.begin; });
    auto last = touched_.begin();
    for (const ColumnRun columns : touched_) {
        if (columns.begin <= last->end) {
            last->end = std::max(last->end, columns.end);
        } else {
            *++last = columns;
        }
    }
    touched_.erase(last + 1, touched_.end());
}

void StripPainter::paintBand(int top, int bottom) {
    top_ = top;
    for (const ColumnRun wanted : wanted_) paintBandOf(wanted, top, bottom);
}

void StripPainter::paintBandOf(ColumnRun wanted, int top, int bottom) {
    int done = wanted.begin;
    for (const ColumnRun touched : touched_) {
        const ColumnRun columns = touched.intersection(wanted);
        if (columns.isEmpty()) continue;
        convertUntouched({done, columns.begin});
        for (int row = top; row < bottom; ++row) paintRow(row, columns);
        if (isPlanar_) {
            convert(columns, layerRow(0, top) + columns.begin, layerRow(0, top + 1) + columns.begin);
        }
        done = columns.end;
    }
    convertUntouched({done, wanted.end});
}

// What a picture on top hides is not drawn at all.
void StripPainter::paintRow(int row, ColumnRun columns) {
    std::size_t cover = 0;
    ColumnRun hidden;
    for (std::size_t i = mayHide_ ? active_.size() : 0; hidden.isEmpty() && i-- > 1;) {
        cover = i;
        hidden = plan_->coveredColumns(*active_[i], row).intersection(columns).alignedIn(kComposedGroup);
    }
    for (std::size_t i = 0; i < active_.size(); ++i) {
        const Step& step = *active_[i];
        if (!holdsRow(step.box, row)) continue;
        const ColumnRun inStep = columns.intersection(columnsOf(step.box));
        if (i < cover && !hidden.isEmpty()) {
            carryOut(step, row, inStep.intersection({columns.begin, hidden.begin}));
            carryOut(step, row, inStep.intersection({hidden.end, columns.end}));
        } else {
            carryOut(step, row, inStep);
        }
    }
}

void StripPainter::carryOut(const Step& step, int row, ColumnRun columns) {
    if (columns.isEmpty()) return;
    Pixel* const target = layerRow(step.layer, row);
    switch (step.kind) {
        case Step::Kind::clear:
            std::fill_n(target + columns.begin, columns.count(), 0);
            break;
        case Step::Kind::draw:
            draw(step.drawing, row, columns, target);
            break;
        case Step::Kind::copy:
            std::copy_n(layerRow(step.other, row) + columns.begin, columns.count(), target + columns.begin);
            break;
        case Step::Kind::mix:
            kernels::mixRow(layerRow(step.other, row) + columns.begin, target + columns.begin,
                            layerRow(step.mask, row) + columns.begin, columns.count(),
                            target + columns.begin);
            break;
        case Step::Kind::drawDisc:
            drawDisc(step, row, columns);
            break;
    }
}

// Straight from the lowest picture.
void StripPainter::convertUntouched(ColumnRun columns) {
    if (!convertsBase_ || columns.isEmpty()) return;
    const Resampling& base = plan_->resampling(plan_->steps().front().drawing.index);
    convert(columns, base.copiedFrom(top_, columns.begin), base.copiedFrom(top_ + 1, columns.begin));
}

void StripPainter::convert(ColumnRun columns, const Pixel* upper, const Pixel* lower) {
    const Plane& luma = target_->plane(0);
    const Plane& blue = target_->plane(1);
    const Plane& red = target_->plane(2);
    std::uint8_t* const upperLuma = luma.data + top_ * luma.strideBytes + columns.begin;
    kernels::convertRowPair(upper, lower, columns.count(), upperLuma, upperLuma + luma.strideBytes,
                            blue.data + top_ / 2 * blue.strideBytes + columns.begin / 2,
                            red.data + top_ / 2 * red.strideBytes + columns.begin / 2);
}

void StripPainter::draw(const Draw& drawing, int row, ColumnRun columns, Pixel* target) {
    columns = columns.intersection(columnsOf(drawing.box));
    if (columns.isEmpty() || !holdsRow(drawing.box, row)) return;
    if (drawing.leaf == Draw::Leaf::gradient) {
        drawGradient(drawing, row, columns, target);
    } else if (drawing.leaf == Draw::Leaf::solid) {
        const Solid& solid = plan_->solid(drawing.index);
        if (drawing.replaces) {
            std::fill_n(target + columns.begin, columns.count(), solid.pixel);
        } else {
            kernels::colorOverRow(solid.fine, columns.count(), target + columns.begin);
        }
    } else if (drawing.replaces) {
        pictures_.draw(drawing.index, row, columns, target);
    } else {
        pictures_.draw(drawing.index, row, columns, drawn_.data());
        kernels::overRow(drawn_.data() + columns.begin, columns.count(), target + columns.begin);
    }
}

void StripPainter::drawGradient(const Draw& drawing, int row, ColumnRun columns, Pixel* target) {
    const Gradient& gradient = plan_->gradient(drawing.index);
    if (gradient.vanishesOutside) {
        columns = gradient.columns(gradient.radius1, row, columns);
        if (columns.isEmpty()) return;
        if (drawing.endsInside) {
            columns = columns.alignedOut(kComposedGroup).intersection({0, target_->width()});
        }
    }
    kernels::gradientOverRow(gradient.run(row, columns.begin), columns.count(), target + columns.begin);
}

// The layer's pixels are kept where the disc has its soft edge, replaced all along, and mixed there.
void StripPainter::drawDisc(const Step& step, int row, ColumnRun columns) {
    const Gradient& disc = plan_->gradient(step.disc);
    const ColumnRun whole = columns;
    columns = disc.columns(disc.radius1, row, whole);
    if (columns.isEmpty()) return;
    columns = columns.alignedOut(kComposedGroup).intersection(whole);
    ColumnRun inside = disc.columnsInside(disc.radius0, row, columns).alignedIn(kComposedGroup);
    if (inside.isEmpty()) inside = {columns.end, columns.end};
    const ColumnRun edges[2] = {{columns.begin, inside.begin}, {inside.end, columns.end}};

    Pixel* const target = layerRow(step.layer, row);
    for (const ColumnRun edge : edges) {
        std::copy_n(target + edge.begin, edge.count(), saved_.data() + edge.begin);
    }
    const ColumnRun drawn = columns.intersection(columnsOf(step.drawing.box));
    if (drawn.count() < columns.count() || !holdsRow(step.drawing.box, row)) {
        std::fill_n(target + columns.begin, columns.count(), 0);
    }
    draw(step.drawing, row, columns, target);
    for (const ColumnRun edge : edges) {
        if (edge.isEmpty()) continue;
        kernels::mixRowByGradient(disc.run(row, edge.begin), target + edge.begin, saved_.data() + edge.begin,
                                  edge.count(), target + edge.begin);
    }
}

}  // namespace kasto
