#pragma once

#include "imaging/BlockSet.h"
#include "imaging/ColumnRun.h"
#include "imaging/Kernels.h"
#include "imaging/PictureRows.h"
#include "imaging/PixelBuffer.h"
#include "imaging/PixelMemory.h"
#include "imaging/RenderPlan.h"

#include <cstddef>
#include <vector>

namespace kasto {

// Carries out a plan for strips of the target, one thread's share at a time. Few rows are worked through at
// once, from left to right, so that the layers, which hold just these, stay in the first level cache. Where
// nothing lies over the lowest picture, it is converted as it lies in memory.
class StripPainter {
public:
    // Gets ready for the strips of one render. The plan and the target have to stay until the last one.
    void begin(const RenderPlan& plan, PixelBuffer& target);

    // Draws the target's rows [top, bottom) from a multiple of BlockSet::kSidePx on, or only those blocks of
    // them; for i420 the number is even.
    void paint(int top, int bottom, const BlockSet* only);

private:
    void findWanted(int row, const BlockSet* only);
    void findNear(int top, int bottom);
    void findActive(int top, int bottom);
    void uniteTouched();
    void paintOverBase(ColumnRun wanted, int top, int bottom);
    void paintTouched(ColumnRun columns, int top, int bottom);
    void compose(ColumnRun columns, int top, int bottom);
    void composeBand(ColumnRun columns, int top, int bottom);
    bool isEnlarged(const Step& step) const;
    void carryOut(const Step& step, int top, int bottom, ColumnRun columns);
    void convert(const SourceRows& source, ColumnRun columns, int top, int bottom);

    void draw(const Draw& drawing, int top, int bottom, ColumnRun columns, const PixelRows& target);
    void drawGradient(const Draw& drawing, int top, int bottom, ColumnRun columns, const PixelRows& target);
    void drawDisc(const Step& step, int row, ColumnRun columns, Pixel* target);
    PixelRows layerRows(int layer, int row) const;

    const RenderPlan* plan_ = nullptr;
    PixelBuffer* target_ = nullptr;
    bool isPlanar_ = false;
    bool convertsBase_ = false;  // the lowest picture may be converted as it is
    bool mayHide_ = false;       // no step takes back what another one covered
    int top_ = 0;                // of the rows in the layers
    std::ptrdiff_t stride_ = 0;  // of the layers
    PixelMemory layers_;
    PixelMemory drawn_;  // a row that goes over a layer
    PixelMemory saved_;  // a row of a layer
    PictureRows pictures_;
    // Columns where nothing is to be seen but a picture as it lies in memory.
    struct Plain {
        ColumnRun columns;
        SourceRows pixels{};  // from the first of them on
    };
    Plain findPlain(ColumnRun columns, int top) const;

    // A step, the columns it may change, and those of them where it hides what is below.
    struct Active {
        const Step* step;
        ColumnRun columns;
        ColumnRun covered;
    };

    std::vector<const Step*> near_;  // those that have to do with the strip
    // Of the few rows at hand: the columns to be drawn, the steps that change them, and the columns where
    // more than the lowest picture is to be seen, in ascending order.
    std::vector<ColumnRun> wanted_;
    std::vector<Active> active_;
    std::vector<ColumnRun> touched_;
};

}  // namespace kasto
