#include "imaging/render/PictureRows.h"

#include <algorithm>

namespace kasto {

void PictureRows::prepare(std::size_t index, const Resampling& resampling) {
    if (index >= pictures_.size()) pictures_.resize(index + 1);
    Picture& picture = pictures_[index];
    picture.resampling = &resampling;
    if (resampling.filter() == Filter::bilinear) {
        const auto length = static_cast<std::size_t>(resampling.box().width) + kRowPadding;
        picture.memory.reserve(2 * length);
        picture.stretched[0] = picture.memory.data();
        picture.stretched[1] = picture.memory.data() + length;
        std::fill_n(picture.stretchedFrom, 2, -1);
    } else if (resampling.filter() == Filter::box) {
        averaged_.reserve(static_cast<std::size_t>(resampling.sourceWidth()) + 2 * kRowPadding);
        const auto taps = static_cast<std::size_t>(resampling.rows().taps);
        if (tapRows_.size() < taps) tapRows_.resize(taps);
        if (tapWeights_.size() < taps) tapWeights_.resize(taps);
    }
}

void PictureRows::draw(std::size_t index, int top, int bottom, ColumnRun columns, const PixelRows& target) {
    Picture& picture = pictures_[index];
    const Resampling& resampling = *picture.resampling;
    if (resampling.filter() == Filter::nearest) {
        kernels::copyRows(resampling.sourceAt(top, columns.begin), resampling.addedAlpha(), columns.count(),
                          bottom - top, {target.first + columns.begin, target.stride});
        return;
    }
    for (int row = top; row < bottom; ++row) {
        if (resampling.filter() == Filter::bilinear) {
            drawBilinear(picture, row, columns, target.row(row - top));
        } else {
            drawBox(resampling, row, columns, target.row(row - top));
        }
    }
}

void PictureRows::drawBilinear(Picture& picture, int row, ColumnRun columns, Pixel* target) {
    const Resampling& resampling = *picture.resampling;
    const Resampling::Axis& rows = resampling.rows();
    const int line = row - resampling.box().y;
    const int column = columns.begin - resampling.box().x;
    int upper = rows.offset + line;
    std::uint32_t fraction = 0;
    if (rows.filter == Filter::bilinear) {
        upper = rows.first[static_cast<std::size_t>(line)];
        fraction = rows.fraction[static_cast<std::size_t>(line)] & 0xFFFF;
    }
    if (fraction == 0) {
        kernels::copyRows({stretchedRow(picture, upper, upper) + column}, resampling.addedAlpha(),
                          columns.count(), 1, {target + columns.begin});
        return;
    }
    const Pixel* const above = stretchedRow(picture, upper, upper + 1);
    const Pixel* const below = stretchedRow(picture, upper + 1, upper);
    kernels::bilinearDown(above + column, below + column, static_cast<std::uint16_t>(fraction),
                          resampling.addedAlpha(), columns.count(), target + columns.begin);
}

// A source row stretched to the width of the box. The stretched row of source row `keep` stays valid.
const Pixel* PictureRows::stretchedRow(Picture& picture, int sourceRow, int keep) {
    const Resampling& resampling = *picture.resampling;
    const Resampling::Axis& columns = resampling.columns();
    if (columns.filter == Filter::nearest) return resampling.sourceRow(sourceRow) + columns.offset;
    for (int i = 0; i < 2; ++i) {
        if (picture.stretchedFrom[i] == sourceRow) return picture.stretched[i];
    }
    const int slot = picture.stretchedFrom[0] == keep ? 1 : 0;
    picture.stretchedFrom[slot] = sourceRow;
    kernels::bilinearAcross(resampling.sourceRow(sourceRow), resampling.sourceWidth(), columns.first.data(),
                            columns.fraction.data(), resampling.box().width, picture.stretched[slot]);
    return picture.stretched[slot];
}

void PictureRows::drawBox(const Resampling& picture, int row, ColumnRun columns, Pixel* target) {
    const Resampling::Axis& down = picture.rows();
    const Resampling::Axis& across = picture.columns();
    const int line = row - picture.box().y;
    const int column = columns.begin - picture.box().x;
    const int firstRow = down.first[static_cast<std::size_t>(line)];
    const int firstColumn = across.first[static_cast<std::size_t>(column)];
    const int endColumn = across.first[static_cast<std::size_t>(column + columns.count() - 1)] + across.taps;

    for (int k = 0; k < down.taps; ++k) {
        const auto tap = static_cast<std::size_t>(k);
        tapRows_[tap] = picture.sourceRow(firstRow + k) + firstColumn;
        tapWeights_[tap] = static_cast<std::uint16_t>(
            down.weights[static_cast<std::size_t>(k * down.stride + line)] & 0xFFFF);
    }
    kernels::boxDown(tapRows_.data(), tapWeights_.data(), down.taps, picture.addedAlpha(),
                     endColumn - firstColumn, averaged_.data() + firstColumn);
    kernels::boxAcross(averaged_.data(), across.first.data() + column, across.weights.data() + column,
                       across.stride, across.taps, columns.count(), target + columns.begin);
}

}  // namespace kasto
