#include "movie/h264/ChangedMacroblocks.h"

#include <algorithm>
#include <cstring>

namespace kasto {

namespace {

bool differ(const PixelBuffer& a, const PixelBuffer& b, int column, int row) {
    for (int p = 0; p < a.planeCount(); ++p) {
        const Plane& inA = a.plane(p);
        const Plane& inB = b.plane(p);
        const int side = p == 0 ? BlockSet::kSidePx : BlockSet::kSidePx / 2;
        const int x = column * side;
        const auto length = static_cast<std::size_t>(std::min(side, inA.width - x));
        for (int y = row * side; y < std::min((row + 1) * side, inA.height); ++y)
            if (std::memcmp(inA.data + y * inA.strideBytes + x, inB.data + y * inB.strideBytes + x, length) !=
                0)
                return true;
    }
    return false;
}

}  // namespace

bool ChangedMacroblocks::find(const PixelBuffer& a, const PixelBuffer& b, const BlockSet& where,
                              std::size_t max) {
    list_.clear();
    for (int row = 0; row < where.rows() && list_.size() <= max; ++row)
        where.forEachRun(row, [&](int begin, int end) {
            for (int column = begin; column < end && list_.size() <= max; ++column)
                if (differ(a, b, column, row))
                    list_.push_back(static_cast<std::uint32_t>(row * where.columns() + column));
        });
    return list_.size() <= max;
}

}  // namespace kasto
