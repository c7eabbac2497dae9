#include "imaging/PictureRows.h"

#include <algorithm>

namespace kasto {

void PictureRows::prepare(std::size_t index, const Resampling& resampling) {
    if (index >= pictures_.size()) pictures_.resize(index + 1);
    Picture& picture = pictures_[index];
    picture.resampling = &resampling;
    if (resampling.way() == Resampling::Way::interpolate) {
        const auto length = static_cast<std::size_t>(resampling.box().width) + kRowPadding;
        picture.memory.reserve(2 * length);
        picture.stretched[0] = picture.memory.data();
        picture.stretched[1] = picture.memory.data() + length;
        std::fill_n(picture.stretchedFrom, 2, -1);
    } else if (resampling.way() == Resampling::Way::average) {
        averaged_.reserve(static_cast<std::size_t>(resampling.sourceWidth()) + 2 * kRowPadding);
        const auto taps = static_cast<std::size_t>(resampling.rows().taps);
        if (averagedFrom_.size() < taps) averagedFrom_.resize(taps);
        if (averagedBy_.size() < taps) averagedBy_.resize(taps);
    }
}

void PictureRows::draw(std::size_t index, int top, int bottom, ColumnRun columns, const PixelRows& target) {
    Picture& picture = pictures_[index];
    const Resampling& resampling = *picture.resampling;
    if (resampling.way() == Resampling::Way::copy) {
        kernels::copyRows(resampling.copiedFrom(top, columns.begin), resampling.addedAlpha(), columns.count(),
                          bottom - top, {target.first + columns.begin, target.stride});
        return;
    }
    for (int row = top; row < bottom; ++row) {
        if (resampling.way() == Resampling::Way::interpolate) {
            drawInterpolated(picture, row, columns, target.row(row - top));
        } else {
            drawAveraged(resampling, row, columns, target.row(row - top));
        }
    }
}

void PictureRows::drawInterpolated(Picture& picture, int row, ColumnRun columns, Pixel* target) {
    const Resampling& resampling = *picture.resampling;
    const Resampling::Axis& rows = resampling.rows();
    const int line = row - resampling.box().y;
    const int column = columns.begin - resampling.box().x;
    int upper = rows.offset + line;
    std::uint32_t fraction = 0;
    if (rows.way == Resampling::Way::interpolate) {
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
    kernels::interpolateRows(above + column, below + column, static_cast<std::uint16_t>(fraction),
                             resampling.addedAlpha(), columns.count(), target + columns.begin);
}

// A row of the picture, from the box's first column on; row `keep` is not given up for it.
const Pixel* PictureRows::stretchedRow(Picture& picture, int sourceRow, int keep) {
    const Resampling& resampling = *picture.resampling;
    const Resampling::Axis& columns = resampling.columns();
    if (columns.way == Resampling::Way::copy) return resampling.sourceRow(sourceRow) + columns.offset;
    for (int i = 0; i < 2; ++i) {
        if (picture.stretchedFrom[i] == sourceRow) return picture.stretched[i];
    }
    const int place = picture.stretchedFrom[0] == keep ? 1 : 0;
    picture.stretchedFrom[place] = sourceRow;
    kernels::enlargeRow(resampling.sourceRow(sourceRow), resampling.sourceWidth(), columns.first.data(),
                        columns.fraction.data(), resampling.box().width, picture.stretched[place]);
    return picture.stretched[place];
}

void PictureRows::drawAveraged(const Resampling& picture, int row, ColumnRun columns, Pixel* target) {
    const Resampling::Axis& down = picture.rows();
    const Resampling::Axis& across = picture.columns();
    const int line = row - picture.box().y;
    const int column = columns.begin - picture.box().x;
    const int firstRow = down.first[static_cast<std::size_t>(line)];
    const int firstColumn = across.first[static_cast<std::size_t>(column)];
    const int endColumn = across.first[static_cast<std::size_t>(column + columns.count() - 1)] + across.taps;

    for (int k = 0; k < down.taps; ++k) {
        const auto tap = static_cast<std::size_t>(k);
        averagedFrom_[tap] = picture.sourceRow(firstRow + k) + firstColumn;
        averagedBy_[tap] = static_cast<std::uint16_t>(
            down.weights[static_cast<std::size_t>(k * down.stride + line)] & 0xFFFF);
    }
    kernels::averageRows(averagedFrom_.data(), averagedBy_.data(), down.taps, picture.addedAlpha(),
                         endColumn - firstColumn, averaged_.data() + firstColumn);
    kernels::averageColumns(averaged_.data(), across.first.data() + column, across.weights.data() + column,
                            across.stride, across.taps, columns.count(), target + columns.begin);
}

}  // namespace kasto
