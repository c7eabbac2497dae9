#pragma once

#include "imaging/PixelBuffer.h"
#include "imaging/kernels/Kernels.h"
#include "imaging/render/ColumnRun.h"
#include "imaging/render/PictureRows.h"
#include "imaging/render/PixelMemory.h"
#include "imaging/render/RenderPlan.h"

#include <cstddef>

namespace kasto {

// Rows whose visibility is determined together, and the most that a layer holds at a time. About as high as
// the opaque and the soft parts of a pulse.
constexpr int kGroupRows = 8;
static_assert(kGroupRows <= kMaxGradientRows);

// Columns that are composed together where the picture allows it, so that vectors are full and aligned.
constexpr int kComposeColumns = 16;

// Executes the steps of a plan on a few rows at a time. The layers hold only these rows, so they stay in the
// first-level cache; layer 0 of a bgra or bgrx target is the target itself. One thread at a time.
class LayerPainter {
public:
    // Gets ready for one render. Plan and target must stay until its last row is drawn.
    void begin(const RenderPlan& plan, PixelBuffer& target);

    // The layers hold the target's rows from here on, at most kGroupRows of them. Their content is undefined
    // until the plan's steps have been executed for it.
    void moveTo(int top) { top_ = top; }

    // Executes a step for these columns of the target's rows [top, bottom), as far as they lie in its box.
    void execute(const Step& step, int top, int bottom, ColumnRun columns);

    // Draws the picture of a step in place of what layer 0 holds there. Everything must lie in its box.
    void drawPicture(const Step& step, int top, int bottom, ColumnRun columns);

    // The rows of a layer from the target's row `row` on, beginning at column 0.
    PixelRows layerRows(int layer, int row) const;

private:
    void draw(const Draw& drawing, int top, int bottom, ColumnRun columns, const PixelRows& target);
    void drawGradient(const Draw& drawing, int top, int bottom, ColumnRun columns, const PixelRows& target);
    void drawDisc(const Step& step, int row, ColumnRun columns, Pixel* target);

    const RenderPlan* plan_ = nullptr;
    PixelBuffer* target_ = nullptr;
    bool isPlanar_ = false;
    int top_ = 0;                // the target's row that is the layers' first
    std::ptrdiff_t stride_ = 0;  // of the layers
    PixelMemory layers_;
    PixelMemory drawnRow_;  // a row of a picture before it is laid over a layer
    PixelMemory savedRow_;  // a row of a layer before a disc is drawn to it
    PictureRows pictures_;
};

}  // namespace kasto
