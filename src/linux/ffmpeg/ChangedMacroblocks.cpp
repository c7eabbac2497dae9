#include "linux/ffmpeg/ChangedMacroblocks.h"

#include <algorithm>
#include <cstring>

namespace kasto {

namespace {

int macroblocksAcross(const PixelBuffer& picture) {
    return (picture.width() + kMacroblock - 1) / kMacroblock;
}

}  // namespace

bool ChangedMacroblocks::find(const PixelBuffer& a, const PixelBuffer& b, std::size_t most) {
    list_.clear();
    const int rows = (a.height() + kMacroblock - 1) / kMacroblock;
    for (int row = 0; row < rows; ++row) {
        findInRow(a, b, row);
        if (list_.size() > most) return false;
    }
    return true;
}

void ChangedMacroblocks::findInRow(const PixelBuffer& a, const PixelBuffer& b, int row) {
    bool isAnyChanged = false;
    for (int p = 0; p < a.planeCount(); ++p) {
        const Plane& inA = a.plane(p);
        const Plane& inB = b.plane(p);
        const int side = p == 0 ? kMacroblock : kMacroblock / 2;
        for (int y = row * side; y < std::min((row + 1) * side, inA.height); ++y) {
            const std::uint8_t* const lineA = inA.data + y * inA.strideBytes;
            const std::uint8_t* const lineB = inB.data + y * inB.strideBytes;
            const int width = inA.width;
            if (std::memcmp(lineA, lineB, static_cast<std::size_t>(width)) == 0) continue;
            if (!isAnyChanged) isChanged_.assign(static_cast<std::size_t>(macroblocksAcross(a)), 0);
            isAnyChanged = true;
            for (int x = 0; x < width; x += side) {
                const auto length = static_cast<std::size_t>(std::min(side, width - x));
                if (std::memcmp(lineA + x, lineB + x, length) != 0)
                    isChanged_[static_cast<std::size_t>(x / side)] = 1;
            }
        }
    }
    if (!isAnyChanged) return;
    for (std::size_t column = 0; column < isChanged_.size(); ++column)
        if (isChanged_[column])
            list_.push_back(
                static_cast<std::uint32_t>(static_cast<std::size_t>(row) * isChanged_.size() + column));
}

}  // namespace kasto
