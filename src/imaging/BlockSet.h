#pragma once

#include "base/Geometry.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace kasto {

// Which of a picture's blocks of 16 by 16 pixels, counted from its top left corner, are meant: those that
// changed, say, or those that are to be drawn. Blocks at the right and lower edge may be narrower. A plain
// value; once it has its size, nothing allocates but copying it.
class BlockSet {
public:
    static constexpr int kSidePx = 16;

    BlockSet() = default;  // of a picture without pixels

    // Of a picture of this size; empty.
    BlockSet(int widthPx, int heightPx);

    static BlockSet all(int widthPx, int heightPx);

    int columns() const { return columns_; }
    int rows() const { return rows_; }

    bool isEmpty() const;
    int count() const;
    bool contains(int column, int row) const { return (word(column, row) >> (column % kBits) & 1) != 0; }

    void clear();
    void fill();

    // The blocks that hold a pixel of the rectangle; what lies outside the picture is left out.
    void add(const PixelRect& px);

    // The other set belongs to a picture of the same size.
    void add(const BlockSet& other);

    // Calls with the blocks [begin, end) of each run of neighbours in a row, from left to right.
    template <class Visit>
    void forEachRun(int row, Visit visit) const {
        for (int begin = next(0, row, true); begin < columns_;) {
            const int end = next(begin, row, false);
            visit(begin, end);
            begin = next(end, row, true);
        }
    }

    bool operator==(const BlockSet&) const = default;

private:
    static constexpr int kBits = 64;

    // The first column from `column` on that is, or is not, in the set; columns() if there is none.
    int next(int column, int row, bool isIn) const;
    std::uint64_t word(int column, int row) const {
        return words_[static_cast<std::size_t>(row * wordsPerRow_ + column / kBits)];
    }

    int columns_ = 0;
    int rows_ = 0;
    int wordsPerRow_ = 0;
    std::vector<std::uint64_t> words_;  // row by row, the first block in the lowest bit; unused bits are zero
};

}  // namespace kasto
