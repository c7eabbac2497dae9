#include "imaging/StripPainter.h"

#include <algorithm>

namespace kasto {

namespace {

// Rows for which it is found out together what has to be done: about the size of a pulse's parts.
constexpr int kLookRows = 8;
static_assert(BlockSet::kSidePx % kLookRows == 0 && kLookRows <= kMostGradientRows);

// Rows that are composed together: as many as stay in the first level cache, and at least as many as share
// their chroma.
constexpr int kBandPixels = 4096;
constexpr int kFewestBandRows = 2;

int bandRows(int columns) {
    int rows = kLookRows;
    while (rows > kFewestBandRows && rows * columns > kBandPixels) rows /= 2;
    return rows;
}

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
    // One group more: rows a power of two apart would share their place in the cache.
    stride_ = ColumnRun{0, target.width()}.alignedOut(kConvertedGroup).end + kConvertedGroup;
    const int ownLayers = plan.layerCount() - (isPlanar_ ? 0 : 1);
    layers_.reserve(static_cast<std::size_t>(stride_ * kLookRows * ownLayers));
    drawn_.reserve(width);
    saved_.reserve(width);
    near_.reserve(plan.steps().size());
    active_.reserve(plan.steps().size());
    touched_.reserve(plan.steps().size() + 1);
    wanted_.reserve(width / BlockSet::kSidePx + 1);
    for (std::size_t i = 0; i < plan.resamplingCount(); ++i) pictures_.prepare(i, plan.resampling(i));
}

PixelRows StripPainter::layerRows(int layer, int row) const {
    if (!isPlanar_) {
        const Plane& plane = target_->plane(0);
        if (layer == 0) {
            return {reinterpret_cast<Pixel*>(plane.data + row * plane.strideBytes),
                    plane.strideBytes / static_cast<std::ptrdiff_t>(sizeof(Pixel))};
        }
        --layer;
    }
    return {layers_.data() + (layer * kLookRows + row - top_) * stride_, stride_};
}

void StripPainter::paint(int top, int bottom, const BlockSet* only) {
    findNear(top, bottom);
    for (int look = top; look < bottom; look += kLookRows) {
        const int lookEnd = std::min(look + kLookRows, bottom);
        findWanted(look, only);
        if (wanted_.empty()) continue;
        findActive(look, lookEnd);
        if (convertsBase_) {
            for (const ColumnRun wanted : wanted_) paintOverBase(wanted, look, lookEnd);
            continue;
        }
        // Row by row all along: what enlarging keeps of a picture's rows serves all columns then.
        for (int row = look; row < lookEnd; row += kFewestBandRows)
            for (const ColumnRun wanted : wanted_)
                composeBand(wanted, row, std::min(row + kFewestBandRows, lookEnd));
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

void StripPainter::findNear(int top, int bottom) {
    near_.clear();
    for (const Step& step : plan_->steps())
        if (step.box.y < bottom && step.box.maxY() > top) near_.push_back(&step);
}

void StripPainter::findActive(int top, int bottom) {
    active_.clear();
    touched_.clear();
    for (const Step* step : near_) {
        const int first = std::max(top, step->box.y);
        const int last = std::min(bottom, step->box.maxY());
        if (first >= last) continue;
        const ColumnRun columns = plan_->touchedColumns(*step, first, last);
        if (columns.isEmpty()) continue;
        active_.push_back({step, columns, plan_->coveredColumns(*step, top, bottom)});
        if (!convertsBase_ || active_.size() == 1) continue;
        touched_.push_back(columns.alignedOut(kConvertedGroup).intersection({0, target_->width()}));
    }
    uniteTouched();
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

void StripPainter::paintOverBase(ColumnRun wanted, int top, int bottom) {
    const Resampling& base = plan_->resampling(plan_->steps().front().drawing.index);
    const auto convertBase = [&](ColumnRun columns) {
        if (!columns.isEmpty()) convert(base.copiedFrom(top, columns.begin), columns, top, bottom);
    };
    int done = wanted.begin;
    for (const ColumnRun touched : touched_) {
        const ColumnRun columns = touched.intersection(wanted);
        if (columns.isEmpty()) continue;
        convertBase({done, columns.begin});
        paintTouched(columns, top, bottom);
        done = columns.end;
    }
    convertBase({done, wanted.end});
}

void StripPainter::paintTouched(ColumnRun columns, int top, int bottom) {
    const Plain plain = findPlain(columns, top);
    if (plain.columns.isEmpty()) return compose(columns, top, bottom);
    compose({columns.begin, plain.columns.begin}, top, bottom);
    convert(plain.pixels, plain.columns, top, bottom);
    compose({plain.columns.end, columns.end}, top, bottom);
}

// Looks at what lies on top only.
StripPainter::Plain StripPainter::findPlain(ColumnRun columns, int top) const {
    const auto onTop = std::find_if(active_.rbegin(), active_.rend(), [&](const Active& active) {
        return !active.columns.intersection(columns).isEmpty();
    });
    if (onTop == active_.rend()) return {};
    const Draw& drawing = onTop->step->drawing;
    if (onTop->step->kind != Step::Kind::draw || drawing.leaf != Draw::Leaf::pixels) return {};
    const Resampling& picture = plan_->resampling(drawing.index);
    if (picture.way() != Resampling::Way::copy) return {};
    const ColumnRun covered = onTop->covered.intersection(columns).alignedIn(kConvertedGroup);
    if (covered.isEmpty()) return {};
    return {covered, picture.copiedFrom(top, covered.begin)};
}

void StripPainter::compose(ColumnRun columns, int top, int bottom) {
    if (columns.isEmpty()) return;
    const int rows = bandRows(columns.count());
    for (int row = top; row < bottom; row += rows) composeBand(columns, row, std::min(row + rows, bottom));
}

// What a picture on top hides is not drawn at all.
void StripPainter::composeBand(ColumnRun columns, int top, int bottom) {
    top_ = top;
    std::size_t cover = 0;
    ColumnRun hidden;
    for (std::size_t i = mayHide_ ? active_.size() : 0; hidden.isEmpty() && i-- > 1;) {
        cover = i;
        hidden = active_[i].covered.intersection(columns).alignedIn(kComposedGroup);
    }
    for (std::size_t i = 0; i < active_.size(); ++i) {
        const Step& step = *active_[i].step;
        const ColumnRun inStep = columns.intersection(active_[i].columns);
        const bool isMixed = step.kind == Step::Kind::draw && !step.drawing.replaces;
        if (hidden.isEmpty() || i > cover || (i == cover && !isMixed)) {
            carryOut(step, top, bottom, inStep);
            continue;
        }
        if (i == cover) pictures_.draw(step.drawing.index, top, bottom, hidden, layerRows(0, top));
        // Row by row where few rows of a picture are kept.
        const int rows = isEnlarged(step) ? 1 : bottom - top;
        for (int row = top; row < bottom; row += rows) {
            carryOut(step, row, row + rows, inStep.intersection({columns.begin, hidden.begin}));
            carryOut(step, row, row + rows, inStep.intersection({hidden.end, columns.end}));
        }
    }
    if (!isPlanar_) return;
    const PixelRows composed = layerRows(0, top);
    convert({composed.first + columns.begin, composed.stride}, columns, top, bottom);
}

bool StripPainter::isEnlarged(const Step& step) const {
    return step.kind == Step::Kind::draw && step.drawing.leaf == Draw::Leaf::pixels &&
           plan_->resampling(step.drawing.index).way() == Resampling::Way::interpolate;
}

void StripPainter::carryOut(const Step& step, int top, int bottom, ColumnRun columns) {
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

void StripPainter::convert(const SourceRows& source, ColumnRun columns, int top, int bottom) {
    const auto at = [&](int plane, int shift) {
        const Plane& to = target_->plane(plane);
        return RowsOf<std::uint8_t>{to.data + (top >> shift) * to.strideBytes + (columns.begin >> shift),
                                    to.strideBytes};
    };
    kernels::convertRows(source, columns.count(), bottom - top, {at(0, 0), at(1, 1), at(2, 1)});
}

void StripPainter::draw(const Draw& drawing, int top, int bottom, ColumnRun columns,
                        const PixelRows& target) {
    if (drawing.leaf == Draw::Leaf::gradient) return drawGradient(drawing, top, bottom, columns, target);
    if (drawing.leaf == Draw::Leaf::pixels && drawing.replaces)
        return pictures_.draw(drawing.index, top, bottom, columns, target);
    if (drawing.leaf == Draw::Leaf::pixels &&
        plan_->resampling(drawing.index).way() == Resampling::Way::copy) {
        return kernels::overRows(plan_->resampling(drawing.index).copiedFrom(top, columns.begin),
                                 columns.count(), bottom - top,
                                 {target.first + columns.begin, target.stride});
    }
    for (int row = top; row < bottom; ++row) {
        Pixel* const pixels = target.row(row - top) + columns.begin;
        if (drawing.leaf == Draw::Leaf::pixels) {
            pictures_.draw(drawing.index, row, row + 1, columns, {drawn_.data()});
            kernels::overRows({drawn_.data() + columns.begin}, columns.count(), 1, {pixels});
        } else if (drawing.replaces) {
            std::fill_n(pixels, columns.count(), plan_->solid(drawing.index).pixel);
        } else {
            kernels::colorOverRow(plan_->solid(drawing.index).fine, columns.count(), pixels);
        }
    }
}

void StripPainter::drawGradient(const Draw& drawing, int top, int bottom, ColumnRun columns,
                                const PixelRows& target) {
    if (drawing.endsInside) {
        columns = columns.alignedOut(kComposedGroup).intersection({0, target_->width()});
    }
    kernels::gradientOverRows(plan_->gradient(drawing.index).run(top, columns.begin), columns.count(),
                              bottom - top, {target.first + columns.begin, target.stride});
}

// The layer's pixels are kept where the disc has its soft edge, replaced all along, and mixed there.
void StripPainter::drawDisc(const Step& step, int row, ColumnRun columns, Pixel* target) {
    const Gradient& disc = plan_->gradient(step.disc);
    const ColumnRun whole = columns;
    columns = disc.columns(disc.radius1, row, whole);
    if (columns.isEmpty()) return;
    columns = columns.alignedOut(kComposedGroup).intersection(whole);
    ColumnRun inside = disc.columnsInside(disc.radius0, row, columns).alignedIn(kComposedGroup);
    if (inside.isEmpty()) inside = {columns.end, columns.end};
    const ColumnRun edges[2] = {{columns.begin, inside.begin}, {inside.end, columns.end}};

    for (const ColumnRun edge : edges) {
        std::copy_n(target + edge.begin, edge.count(), saved_.data() + edge.begin);
    }
    const ColumnRun drawn =
        holdsRow(step.drawing.box, row) ? columns.intersection(columnsOf(step.drawing.box)) : ColumnRun{};
    if (drawn.count() < columns.count() || !step.drawing.replaces)
        std::fill_n(target + columns.begin, columns.count(), step.backdrop);
    if (!drawn.isEmpty()) draw(step.drawing, row, row + 1, drawn, {target});
    for (const ColumnRun edge : edges) {
        if (edge.isEmpty()) continue;
        kernels::mixRowByGradient(disc.run(row, edge.begin), target + edge.begin, saved_.data() + edge.begin,
                                  edge.count(), target + edge.begin);
    }
}

}  // namespace kasto
