#pragma once

#include "imaging/BlockSet.h"
#include "imaging/PixelBuffer.h"
#include "imaging/kernels/Kernels.h"
#include "imaging/render/ColumnRun.h"
#include "imaging/render/LayerPainter.h"
#include "imaging/render/RenderPlan.h"

#include <vector>

namespace kasto {

// Draws strips of the target by a plan. Each thread has a painter of its own.
//
// The visibility pass
// -------------------
// Goal: a frame of a movie is mostly one large picture at its own size, with a webcam tile and some pulses on
// it. Its cost should be that of converting the picture once, plus a little for the pixels on which something
// lies.
//
// A strip (32 rows) is one thread's share. Its rows are handled in groups of kGroupRows. For each group the
// pass finds, in this order:
//   stripSteps_      the steps whose box intersects the strip. Once per strip.
//   dirtyRuns_       the columns that have to be drawn: all, or those of the dirty blocks.
//   activeSteps_     the steps that change pixels of the group, each with the columns it changes and the
//                    columns it occludes, that is, where nothing below it can be seen. A disc, for example,
//                    occludes only where it is opaque in every row of the group.
//   compositedRuns_  the columns in which more than the base picture may be visible: the union of the
//                    changed columns of all steps above it, widened to whole vectors.
// Outside the composited runs the base picture is converted straight from its buffer to the target. Inside
// them, if the topmost step is an unscaled picture, its occluded columns are converted straight from that
// picture's buffer (a direct run). All other columns are composed: bands of a few rows go through the layers
// and are converted from there, and below the topmost occluder of a band nothing is drawn at all (culling).
//
// Invariants:
// - Every dirty pixel is written to the target exactly once, and no two threads write the same pixel: strips
//   begin at a multiple of the block size, groups do not cross strips, and the two rows that share their
//   chroma are in one band.
// - Columns may be changed more widely than needed, never less; occluded columns less, never more.
// - Culling is valid only if no step reads a layer's pixels again after they were occluded. A `copy` step
//   does that, so a plan with one is drawn without culling.
// - The base is direct only for i420 targets whose lowest step is an unscaled picture that fills the target.
//
// What was tried before: determining visibility row by row cost more than composing a small pulse's pixels,
// hence the groups. Bands of a whole group do not fit the first-level cache for wide runs, hence the height
// that depends on the width. Enlarged pictures keep only two stretched rows, so left and right of an occluder
// they are drawn row by row: band by band stretched each row twice and cost a sixth more. A prefetch of the
// next rows pays off only where blocks of rows are read in pieces.
class StripPainter {
public:
    // Gets ready for the strips of one render. Plan and target must stay until the last strip is drawn.
    void begin(const RenderPlan& plan, PixelBuffer& target);

    // Draws the target's rows [top, bottom), or only the given blocks of them. `top` is a multiple of
    // BlockSet::kSidePx; for i420 the number of rows is even.
    void paint(int top, int bottom, const BlockSet* dirty);

private:
    // A step that changes pixels of the current group.
    struct ActiveStep {
        const Step* step;
        ColumnRun columns;   // that it may change
        ColumnRun occluded;  // in which nothing below it is visible
    };
    // Columns in which only one unscaled picture is visible.
    struct DirectRun {
        ColumnRun columns;
        SourceRows pixels{};  // the picture's, from the first of the columns on
    };

    void findStripSteps(int top, int bottom);
    void findDirtyRuns(int row, const BlockSet* dirty);
    void findActiveSteps(int top, int bottom);
    void uniteCompositedRuns();
    DirectRun findDirectRun(ColumnRun columns, int top) const;

    void paintDirtyRun(ColumnRun dirty, int top, int bottom);
    void paintCompositedRun(ColumnRun columns, int top, int bottom);
    void compose(ColumnRun columns, int top, int bottom);
    void composeBand(ColumnRun columns, int top, int bottom);
    bool isStretched(const Step& step) const;
    void convert(const SourceRows& source, ColumnRun columns, int top, int bottom);

    const RenderPlan* plan_ = nullptr;
    PixelBuffer* target_ = nullptr;
    bool isPlanar_ = false;
    bool isBaseDirect_ = false;    // the lowest picture may be converted straight from its buffer
    bool isCullingValid_ = false;  // no step reads pixels that another one occluded
    LayerPainter layers_;

    // All of these keep their memory. The last three describe the current group of rows.
    std::vector<const Step*> stripSteps_;
    std::vector<ColumnRun> dirtyRuns_;
    std::vector<ActiveStep> activeSteps_;
    std::vector<ColumnRun> compositedRuns_;  // disjoint, in ascending order
};

}  // namespace kasto
