#include "imaging/render/StripPainter.h"

#include <algorithm>

namespace kasto {

namespace {

static_assert(BlockSet::kSidePx % kGroupRows == 0);

// A band is composed at once. It has as many rows as fit the first-level cache, but at least the two that
// share their chroma.
constexpr int kBandPixels = 4096;
constexpr int kMinBandRows = 2;

int bandRows(int columns) {
    int rows = kGroupRows;
    while (rows > kMinBandRows && rows * columns > kBandPixels) rows /= 2;
    return rows;
}

// Columns that are converted together where the picture allows it, so that vectors are full and aligned.
constexpr int kConvertColumns = 64;

}  // namespace

void StripPainter::begin(const RenderPlan& plan, PixelBuffer& target) {
    plan_ = &plan;
    target_ = &target;
    isPlanar_ = target.format() == PixelFormat::i420;
    const Step& first = plan.steps().front();
    isBaseDirect_ = isPlanar_ && first.kind == Step::Kind::draw && first.drawing.leaf == Draw::Leaf::pixels &&
                    plan.resampling(first.drawing.index).filter() == Filter::nearest;
    isCullingValid_ = std::none_of(plan.steps().begin(), plan.steps().end(),
                                   [](const Step& step) { return step.kind == Step::Kind::copy; });
    layers_.begin(plan, target);
    stripSteps_.reserve(plan.steps().size());
    activeSteps_.reserve(plan.steps().size());
    compositedRuns_.reserve(plan.steps().size() + 1);
    dirtyRuns_.reserve(static_cast<std::size_t>(target.width()) / BlockSet::kSidePx + 1);
}

void StripPainter::paint(int top, int bottom, const BlockSet* dirty) {
    findStripSteps(top, bottom);
    for (int group = top; group < bottom; group += kGroupRows) {
        const int groupEnd = std::min(group + kGroupRows, bottom);
        findDirtyRuns(group, dirty);
        if (dirtyRuns_.empty()) continue;
        findActiveSteps(group, groupEnd);
        if (isBaseDirect_) {
            for (const ColumnRun run : dirtyRuns_) paintDirtyRun(run, group, groupEnd);
            continue;
        }
        // The runs inside the rows: a stretched row of an enlarged picture serves all runs then.
        for (int row = group; row < groupEnd; row += kMinBandRows)
            for (const ColumnRun run : dirtyRuns_)
                composeBand(run, row, std::min(row + kMinBandRows, groupEnd));
    }
}

void StripPainter::findStripSteps(int top, int bottom) {
    stripSteps_.clear();
    for (const Step& step : plan_->steps())
        if (step.box.y < bottom && step.box.maxY() > top) stripSteps_.push_back(&step);
}

void StripPainter::findDirtyRuns(int row, const BlockSet* dirty) {
    const ColumnRun whole{0, target_->width()};
    dirtyRuns_.clear();
    if (!dirty) return dirtyRuns_.push_back(whole);
    dirty->forEachRun(row / BlockSet::kSidePx, [&](int begin, int end) {
        const ColumnRun blocks{begin * BlockSet::kSidePx, end * BlockSet::kSidePx};
        dirtyRuns_.push_back(blocks.intersection(whole));
    });
}

void StripPainter::findActiveSteps(int top, int bottom) {
    activeSteps_.clear();
    compositedRuns_.clear();
    for (const Step* step : stripSteps_) {
        const int first = std::max(top, step->box.y);
        const int last = std::min(bottom, step->box.maxY());
        if (first >= last) continue;
        const ColumnRun columns = plan_->changedColumns(*step, first, last);
        if (columns.isEmpty()) continue;
        activeSteps_.push_back({step, columns, plan_->occludedColumns(*step, top, bottom)});
        if (!isBaseDirect_ || activeSteps_.size() == 1) continue;
        compositedRuns_.push_back(columns.alignedOut(kConvertColumns).intersection({0, target_->width()}));
    }
    uniteCompositedRuns();
}

void StripPainter::uniteCompositedRuns() {
    if (compositedRuns_.empty()) return;
    std::sort(compositedRuns_.begin(), compositedRuns_.end(),
              [](ColumnRun a, ColumnRun b) { return a.begin < b.begin; });
    auto last = compositedRuns_.begin();
    for (const ColumnRun columns : compositedRuns_) {
        if (columns.begin <= last->end) {
            last->end = std::max(last->end, columns.end);
        } else {
            *++last = columns;
        }
    }
    compositedRuns_.erase(last + 1, compositedRuns_.end());
}

void StripPainter::paintDirtyRun(ColumnRun dirty, int top, int bottom) {
    const Resampling& base = plan_->resampling(plan_->steps().front().drawing.index);
    const auto convertBase = [&](ColumnRun columns) {
        if (!columns.isEmpty()) convert(base.sourceAt(top, columns.begin), columns, top, bottom);
    };
    int done = dirty.begin;
    for (const ColumnRun composited : compositedRuns_) {
        const ColumnRun columns = composited.intersection(dirty);
        if (columns.isEmpty()) continue;
        convertBase({done, columns.begin});
        paintCompositedRun(columns, top, bottom);
        done = columns.end;
    }
    convertBase({done, dirty.end});
}

void StripPainter::paintCompositedRun(ColumnRun columns, int top, int bottom) {
    const DirectRun direct = findDirectRun(columns, top);
    if (direct.columns.isEmpty()) return compose(columns, top, bottom);
    compose({columns.begin, direct.columns.begin}, top, bottom);
    convert(direct.pixels, direct.columns, top, bottom);
    compose({direct.columns.end, columns.end}, top, bottom);
}

// Only the topmost step of the columns is considered.
StripPainter::DirectRun StripPainter::findDirectRun(ColumnRun columns, int top) const {
    const auto topmost = std::find_if(
        activeSteps_.rbegin(), activeSteps_.rend(),
        [&](const ActiveStep& active) { return !active.columns.intersection(columns).isEmpty(); });
    if (topmost == activeSteps_.rend()) return {};
    const Draw& drawing = topmost->step->drawing;
    if (topmost->step->kind != Step::Kind::draw || drawing.leaf != Draw::Leaf::pixels) return {};
    const Resampling& picture = plan_->resampling(drawing.index);
    if (picture.filter() != Filter::nearest) return {};
    const ColumnRun occluded = topmost->occluded.intersection(columns).alignedIn(kConvertColumns);
    if (occluded.isEmpty()) return {};
    return {occluded, picture.sourceAt(top, occluded.begin)};
}

void StripPainter::compose(ColumnRun columns, int top, int bottom) {
    if (columns.isEmpty()) return;
    const int rows = bandRows(columns.count());
    for (int row = top; row < bottom; row += rows) composeBand(columns, row, std::min(row + rows, bottom));
}

void StripPainter::composeBand(ColumnRun columns, int top, int bottom) {
    layers_.moveTo(top);
    std::size_t occluder = 0;
    ColumnRun occluded;
    for (std::size_t i = isCullingValid_ ? activeSteps_.size() : 0; occluded.isEmpty() && i-- > 1;) {
        occluder = i;
        occluded = activeSteps_[i].occluded.intersection(columns).alignedIn(kComposeColumns);
    }
    for (std::size_t i = 0; i < activeSteps_.size(); ++i) {
        const Step& step = *activeSteps_[i].step;
        const ColumnRun inStep = columns.intersection(activeSteps_[i].columns);
        const bool isMixed = step.kind == Step::Kind::draw && !step.drawing.replaces;
        if (occluded.isEmpty() || i > occluder || (i == occluder && !isMixed)) {
            layers_.execute(step, top, bottom, inStep);
            continue;
        }
        if (i == occluder) layers_.drawPicture(step, top, bottom, occluded);
        // An enlarged picture goes row by row, so that each stretched row serves both sides of the occluder.
        const int rows = isStretched(step) ? 1 : bottom - top;
        for (int row = top; row < bottom; row += rows) {
            layers_.execute(step, row, row + rows, inStep.intersection({columns.begin, occluded.begin}));
            layers_.execute(step, row, row + rows, inStep.intersection({occluded.end, columns.end}));
        }
    }
    if (!isPlanar_) return;
    const PixelRows composed = layers_.layerRows(0, top);
    convert({composed.first + columns.begin, composed.stride}, columns, top, bottom);
}

bool StripPainter::isStretched(const Step& step) const {
    return step.kind == Step::Kind::draw && step.drawing.leaf == Draw::Leaf::pixels &&
           plan_->resampling(step.drawing.index).filter() == Filter::bilinear;
}

void StripPainter::convert(const SourceRows& source, ColumnRun columns, int top, int bottom) {
    const auto at = [&](int plane, int shift) {
        const Plane& to = target_->plane(plane);
        return RowsOf<std::uint8_t>{to.data + (top >> shift) * to.strideBytes + (columns.begin >> shift),
                                    to.strideBytes};
    };
    kernels::convertRows(source, columns.count(), bottom - top, {at(0, 0), at(1, 1), at(2, 1)});
}

}  // namespace kasto
