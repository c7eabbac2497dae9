#pragma once

#include "base/Geometry.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace kasto {

// A set of the 16×16 blocks of a picture, for example those that changed. Blocks are counted from the top
// left corner; those at the right and lower edge may be smaller. A plain value: one thread at a time. After
// construction, only copying allocates.
class BlockSet {
public:
    static constexpr int kSidePx = 16;

    BlockSet() = default;  // for a picture without pixels

    // The empty set for a picture of this size.
    BlockSet(int widthPx, int heightPx);

    // All blocks of a picture of this size.
    static BlockSet all(int widthPx, int heightPx);

    int columns() const { return columns_; }
    int rows() const { return rows_; }

    bool isEmpty() const;
    int count() const;
    bool contains(int column, int row) const { return (word(column, row) >> (column % kBits) & 1) != 0; }

    void clear();
    void fill();

    // Adds the blocks that contain a pixel of the rectangle. Parts outside the picture are ignored.
    void add(const PixelRect& px);

    // Adds the blocks of a set for a picture of the same size.
    void add(const BlockSet& other);

    // Calls visit(begin, end) for each run [begin, end) of adjacent blocks in a row, from left to right.
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

    // The first column from `column` on whose membership is `isIn`; columns() if there is none.
    int next(int column, int row, bool isIn) const;
    std::uint64_t word(int column, int row) const {
        return words_[static_cast<std::size_t>(row * wordsPerRow_ + column / kBits)];
    }

    int columns_ = 0;
    int rows_ = 0;
    int wordsPerRow_ = 0;
    std::vector<std::uint64_t> words_;  // row by row, the first block in the lowest bit; unused bits are 0
};

}  // namespace kasto
