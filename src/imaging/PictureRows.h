#pragma once

#include "imaging/ColumnRun.h"
#include "imaging/Kernels.h"
#include "imaging/PixelMemory.h"
#include "imaging/Resampling.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace kasto {

// Draws rows of pictures as their resampling tells. Pictures that get larger are first stretched along their
// rows, once for each row of theirs; the last two such rows are kept for the target's rows between them. One
// thread at a time.
class PictureRows {
public:
    // Gets ready for another picture; `index` counts from 0 in each render.
    void prepare(std::size_t index, const Resampling& picture);

    // Fills these columns of the target's rows [top, bottom), inside the picture's box. `target` begins at
    // column 0 of the first of them.
    void draw(std::size_t index, int top, int bottom, ColumnRun columns, const PixelRows& target);

private:
    struct Picture {
        const Resampling* resampling = nullptr;
        PixelMemory memory;
        Pixel* stretched[2] = {};
        int stretchedFrom[2] = {-1, -1};
    };

    void drawInterpolated(Picture& picture, int row, ColumnRun columns, Pixel* target);
    void drawAveraged(const Resampling& picture, int row, ColumnRun columns, Pixel* target);
    static const Pixel* stretchedRow(Picture& picture, int sourceRow, int keep);

    std::vector<Picture> pictures_;
    PixelMemory averaged_;
    std::vector<const Pixel*> averagedFrom_;
    std::vector<std::uint16_t> averagedBy_;
};

}  // namespace kasto
