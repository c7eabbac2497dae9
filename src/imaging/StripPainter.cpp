#include "imaging/StripPainter.h"

#include <algorithm>
#include <cmath>
#include <new>

namespace kasto {

namespace {

constexpr std::align_val_t kVectorAlignment{64};

// Columns are composed or converted by groups of this many, so that most vectors are whole.
constexpr int kColumnGroup = 32;

int size(Gradient::Run run) { return std::max(0, run.end - run.begin); }

Gradient::Run common(Gradient::Run a, Gradient::Run b) {
    return {std::max(a.begin, b.begin), std::min(a.end, b.end)};
}

Gradient::Run columnsOf(const PixelRect& box) { return {box.x, box.maxX()}; }

bool holdsRow(const PixelRect& box, int row) { return row >= box.y && row < box.maxY(); }

}  // namespace

void PixelMemory::Free::operator()(Pixel* pixels) const { ::operator delete(pixels, kVectorAlignment); }

void PixelMemory::reserve(std::size_t pixels) {
    if (pixels <= capacity_) return;
    pixels_.reset(static_cast<Pixel*>(::operator new(pixels * sizeof(Pixel), kVectorAlignment)));
    capacity_ = pixels;
}

void StripPainter::begin(const RenderPlan& plan, PixelBuffer& target, int stripRows) {
    plan_ = &plan;
    target_ = &target;
    isPlanar_ = target.format() == PixelFormat::i420;
    const auto width = static_cast<std::size_t>(target.width());
    stride_ = static_cast<std::ptrdiff_t>((width + kColumnGroup - 1) / kColumnGroup * kColumnGroup);
    layerSize_ = stride_ * stripRows;
    const int ownLayers = plan.layerCount() - (isPlanar_ ? 0 : 1);
    layers_.reserve(static_cast<std::size_t>(layerSize_ * ownLayers));
    drawn_.reserve(width);
    saved_.reserve(width);
    masks_.reserve(width);
    touched_.reserve(plan.steps().size());

    const Step& first = plan.steps().front();
    copiesBase_ = first.kind == Step::Kind::draw && first.drawing.leaf == Draw::Leaf::pixels &&
                  plan.resampling(first.drawing.index).way() == Resampling::Way::copy;

    std::size_t longest = 0;
    std::size_t mostTaps = 0;
    if (enlarged_.size() < plan.resamplingCount()) enlarged_.resize(plan.resamplingCount());
    for (std::size_t i = 0; i < plan.resamplingCount(); ++i) {
        const Resampling& picture = plan.resampling(i);
        if (picture.way() == Resampling::Way::average) {
            longest = std::max(longest, static_cast<std::size_t>(picture.sourceWidth()));
            mostTaps = std::max(mostTaps, static_cast<std::size_t>(picture.rows().taps));
        } else if (picture.way() == Resampling::Way::interpolate) {
            EnlargedRows& rows = enlarged_[i];
            const auto length = static_cast<std::size_t>(picture.box().width) + kRowPadding;
            rows.memory.reserve(2 * length);
            rows.pixels[0] = rows.memory.data();
            rows.pixels[1] = rows.pixels[0] + length;
            rows.sourceRows[0] = rows.sourceRows[1] = -1;
        }
    }
    averaged_.reserve(longest);
    if (averagedFrom_.size() < mostTaps) averagedFrom_.resize(mostTaps);
    if (averagedBy_.size() < mostTaps) averagedBy_.resize(mostTaps);
}

Pixel* StripPainter::layerRow(int layer, int row) const {
    if (!isPlanar_) {
        const Plane& plane = target_->plane(0);
        if (layer == 0) return reinterpret_cast<Pixel*>(plane.data + row * plane.strideBytes);
        --layer;
    }
    return layers_.data() + layer * layerSize_ + (row - top_) * stride_;
}

void StripPainter::paint(int top, int bottom) {
    top_ = top;
    const Run whole{0, target_->width()};
    if (!isPlanar_ || !copiesBase_) {
        paintColumns(whole, top, bottom);
        if (isPlanar_) convert(whole, top, bottom, false);
        return;
    }
    findTouched(top, bottom);
    int done = 0;
    for (const Run& columns : touched_) {
        convert({done, columns.begin}, top, bottom, true);
        paintColumns(columns, top, bottom);
        convert(columns, top, bottom, false);
        done = columns.end;
    }
    convert({done, whole.end}, top, bottom, true);
}

// The columns where more is to be seen than the lowest picture, in ascending order.
void StripPainter::findTouched(int top, int bottom) {
    touched_.clear();
    const auto& steps = plan_->steps();
    for (std::size_t i = 1; i < steps.size(); ++i) {
        const int first = std::max(top, steps[i].box.y);
        const int last = std::min(bottom, steps[i].box.maxY());
        if (first >= last) continue;
        Run columns = plan_->touchedColumns(steps[i], first, last);
        if (size(columns) == 0) continue;
        columns.begin = columns.begin / kColumnGroup * kColumnGroup;
        columns.end =
            std::min((columns.end + kColumnGroup - 1) / kColumnGroup * kColumnGroup, target_->width());
        touched_.push_back(columns);
    }
    std::sort(touched_.begin(), touched_.end(), [](Run a, Run b) { return a.begin < b.begin; });
    std::size_t kept = 0;
    for (std::size_t i = 1; i < touched_.size(); ++i) {
        if (touched_[i].begin <= touched_[kept].end) {
            touched_[kept].end = std::max(touched_[kept].end, touched_[i].end);
        } else {
            touched_[++kept] = touched_[i];
        }
    }
    if (!touched_.empty()) touched_.resize(kept + 1);
}

void StripPainter::paintColumns(Run columns, int top, int bottom) {
    for (const Step& step : plan_->steps()) {
        const Run inStep = common(columns, columnsOf(step.box));
        if (size(inStep) == 0) continue;
        const int first = std::max(top, step.box.y);
        const int last = std::min(bottom, step.box.maxY());
        for (int row = first; row < last; ++row) carryOut(step, row, inStep);
    }
}

void StripPainter::carryOut(const Step& step, int row, Run columns) {
    Pixel* const target = layerRow(step.layer, row);
    switch (step.kind) {
        case Step::Kind::clear:
            std::fill_n(target + columns.begin, size(columns), 0);
            break;
        case Step::Kind::draw:
            drawRow(step.drawing, row, columns, target);
            break;
        case Step::Kind::copy:
            std::copy_n(layerRow(step.other, row) + columns.begin, size(columns), target + columns.begin);
            break;
        case Step::Kind::mix:
            kernels::mixRow(layerRow(step.other, row) + columns.begin, target + columns.begin,
                            layerRow(step.mask, row) + columns.begin, size(columns), target + columns.begin);
            break;
        case Step::Kind::drawDisc:
            drawDisc(step, row, columns);
            break;
    }
}

void StripPainter::convert(Run columns, int top, int bottom, bool isUntouched) {
    if (size(columns) == 0) return;
    const Plane& luma = target_->plane(0);
    const Plane& blue = target_->plane(1);
    const Plane& red = target_->plane(2);
    const auto composed = [&](int row) -> const Pixel* {
        if (!isUntouched) return layerRow(0, row) + columns.begin;
        return plan_->resampling(plan_->steps().front().drawing.index).copiedFrom(row, columns.begin);
    };
    for (int row = top; row < bottom; row += 2) {
        std::uint8_t* const upper = luma.data + row * luma.strideBytes + columns.begin;
        kernels::convertRowPair(composed(row), composed(row + 1), size(columns), upper,
                                upper + luma.strideBytes,
                                blue.data + row / 2 * blue.strideBytes + columns.begin / 2,
                                red.data + row / 2 * red.strideBytes + columns.begin / 2);
    }
}

void StripPainter::drawRow(const Draw& drawing, int row, Run columns, Pixel* target) {
    columns = common(columns, columnsOf(drawing.box));
    if (size(columns) == 0 || !holdsRow(drawing.box, row)) return;
    switch (drawing.leaf) {
        case Draw::Leaf::solid: {
            const Solid& solid = plan_->solid(drawing.index);
            if (drawing.replaces) {
                std::fill_n(target + columns.begin, size(columns), solid.pixel);
            } else {
                kernels::colorOverRow(solid.fine, size(columns), target + columns.begin);
            }
            break;
        }
        case Draw::Leaf::gradient:
            drawGradient(plan_->gradient(drawing.index), row, columns, target);
            break;
        case Draw::Leaf::pixels:
            if (drawing.replaces) {
                drawPixels(drawing.index, row, columns, target);
            } else {
                drawPixels(drawing.index, row, columns, drawn_.data());
                kernels::overRow(drawn_.data() + columns.begin, size(columns), target + columns.begin);
            }
            break;
    }
}

void StripPainter::drawGradient(const Gradient& gradient, int row, Run columns, Pixel* target) {
    if (gradient.vanishesOutside) columns = gradient.columns(gradient.radius1, row, columns);
    if (size(columns) == 0) return;
    const double y = (row + 0.5 - gradient.centerY) / gradient.scaleY;
    const GradientRun run{
        .firstX = static_cast<float>((columns.begin + 0.5 - gradient.centerX) / gradient.scaleX),
        .stepX = static_cast<float>(1 / gradient.scaleX),
        .squaredY = static_cast<float>(y * y),
        .radius0 = static_cast<float>(gradient.radius0),
        .perRadius = static_cast<float>(1 / (gradient.radius1 - gradient.radius0)),
        .inner = gradient.inner,
        .outer = gradient.outer,
    };
    kernels::gradientOverRow(run, size(columns), target + columns.begin);
}

// The layer's pixels are kept where the disc has its soft edge, replaced all along, and mixed there.
void StripPainter::drawDisc(const Step& step, int row, Run columns) {
    const Gradient& disc = plan_->gradient(step.disc);
    columns = disc.columns(disc.radius1, row, columns);
    if (size(columns) == 0) return;
    Run inside = disc.columns(disc.radius0, row, columns);
    // The columns at both ends of the run may have their centres outside.
    inside = {std::min(inside.begin + 2, columns.end), std::max(inside.end - 2, columns.begin)};
    if (size(inside) == 0) inside = {columns.end, columns.end};
    const Run edges[2] = {{columns.begin, inside.begin}, {inside.end, columns.end}};

    Pixel* const target = layerRow(step.layer, row);
    for (const Run& edge : edges) std::copy_n(target + edge.begin, size(edge), saved_.data() + edge.begin);
    const Run drawn = holdsRow(step.drawing.box, row) ? common(columns, columnsOf(step.drawing.box))
                                                      : Run{columns.end, columns.end};
    if (size(drawn) < size(columns)) std::fill_n(target + columns.begin, size(columns), 0);
    drawRow(step.drawing, row, columns, target);
    for (const Run& edge : edges) {
        if (size(edge) == 0) continue;
        std::fill_n(masks_.data() + edge.begin, size(edge), 0);
        drawGradient(disc, row, edge, masks_.data());
        kernels::mixRow(target + edge.begin, saved_.data() + edge.begin, masks_.data() + edge.begin,
                        size(edge), target + edge.begin);
    }
}

void StripPainter::drawPixels(std::size_t index, int row, Run columns, Pixel* target) {
    const Resampling& picture = plan_->resampling(index);
    switch (picture.way()) {
        case Resampling::Way::copy:
            kernels::copyRow(picture.copiedFrom(row, columns.begin), picture.addedAlpha(), size(columns),
                             target + columns.begin);
            break;
        case Resampling::Way::interpolate:
            drawInterpolated(index, row, columns, target);
            break;
        case Resampling::Way::average:
            drawAveraged(picture, row, columns, target);
            break;
    }
}

void StripPainter::drawInterpolated(std::size_t index, int row, Run columns, Pixel* target) {
    const Resampling& picture = plan_->resampling(index);
    const Resampling::Axis& rows = picture.rows();
    const int line = row - picture.box().y;
    const int column = columns.begin - picture.box().x;
    int upper = rows.offset + line;
    std::uint32_t fraction = 0;
    if (rows.way == Resampling::Way::interpolate) {
        upper = rows.first[static_cast<std::size_t>(line)];
        fraction = rows.fraction[static_cast<std::size_t>(line)] & 0xFFFF;
    }
    if (fraction == 0) {
        kernels::copyRow(enlargedRow(index, upper, upper) + column, picture.addedAlpha(), size(columns),
                         target + columns.begin);
        return;
    }
    const Pixel* const above = enlargedRow(index, upper, upper + 1);
    const Pixel* const below = enlargedRow(index, upper + 1, upper);
    kernels::interpolateRows(above + column, below + column, static_cast<std::uint16_t>(fraction),
                             picture.addedAlpha(), size(columns), target + columns.begin);
}

// A row of the picture as wide as in the target; the row `keep` is not given up for it.
const Pixel* StripPainter::enlargedRow(std::size_t index, int sourceRow, int keep) {
    const Resampling& picture = plan_->resampling(index);
    const Resampling::Axis& columns = picture.columns();
    if (columns.way == Resampling::Way::copy) return picture.sourceRow(sourceRow) + columns.offset;
    EnlargedRows& rows = enlarged_[index];
    for (int i = 0; i < 2; ++i) {
        if (rows.sourceRows[i] == sourceRow) return rows.pixels[i];
    }
    const int place = rows.sourceRows[0] == keep ? 1 : 0;
    rows.sourceRows[place] = sourceRow;
    kernels::enlargeRow(picture.sourceRow(sourceRow), picture.sourceWidth(), columns.first.data(),
                        columns.fraction.data(), picture.box().width, rows.pixels[place]);
    return rows.pixels[place];
}

void StripPainter::drawAveraged(const Resampling& picture, int row, Run columns, Pixel* target) {
    const Resampling::Axis& down = picture.rows();
    const Resampling::Axis& across = picture.columns();
    const int line = row - picture.box().y;
    const int column = columns.begin - picture.box().x;
    const int firstRow = down.first[static_cast<std::size_t>(line)];
    const int firstColumn = across.first[static_cast<std::size_t>(column)];
    const int lastColumn =
        across.first[static_cast<std::size_t>(column + size(columns) - 1)] + across.taps - 1;
    for (int k = 0; k < down.taps; ++k) {
        const auto tap = static_cast<std::size_t>(k);
        averagedFrom_[tap] = picture.sourceRow(firstRow + k) + firstColumn;
        averagedBy_[tap] = down.weights[static_cast<std::size_t>(k * down.stride + line)];
    }
    kernels::averageRows(averagedFrom_.data(), averagedBy_.data(), down.taps, picture.addedAlpha(),
                         lastColumn - firstColumn + 1, averaged_.data() + firstColumn);
    kernels::averageColumns(averaged_.data(), across.first.data() + column, across.weights.data() + column,
                            across.stride, across.taps, size(columns), target + columns.begin);
}

}  // namespace kasto
