#pragma once

#include "imaging/kernels/Kernels.h"
#include "imaging/render/ColumnRun.h"
#include "imaging/render/PixelMemory.h"
#include "imaging/render/Resampling.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace kasto {

// Draws rows of scaled pictures. Bilinear filtering takes two passes: a source row is stretched along its
// columns once, and target rows are mixed from the two stretched rows above and below them. The last two
// stretched rows of each picture are kept, so drawing consecutive rows in order stretches each source row
// once. One thread at a time.
class PictureRows {
public:
    // Gets ready for picture `index`, counted from 0 in each render. The resampling must stay until the last
    // row is drawn.
    void prepare(std::size_t index, const Resampling& resampling);

    // Fills these columns of the target's rows [top, bottom), which must lie inside the picture's box.
    // `target` is column 0 of row `top`.
    void draw(std::size_t index, int top, int bottom, ColumnRun columns, const PixelRows& target);

private:
    struct Picture {
        const Resampling* resampling = nullptr;
        PixelMemory memory;
        Pixel* stretched[2] = {};
        int stretchedFrom[2] = {-1, -1};  // their source rows; -1 = none
    };

    void drawBilinear(Picture& picture, int row, ColumnRun columns, Pixel* target);
    void drawBox(const Resampling& picture, int row, ColumnRun columns, Pixel* target);
    static const Pixel* stretchedRow(Picture& picture, int sourceRow, int keep);

    std::vector<Picture> pictures_;
    PixelMemory averaged_;  // box: source rows averaged into one, before its columns are
    std::vector<const Pixel*> tapRows_;
    std::vector<std::uint16_t> tapWeights_;
};

}  // namespace kasto
