#include "imaging/BlockSet.h"

#include <algorithm>
#include <cassert>

namespace kasto {

namespace {

// A word with the bits [begin, end) set.
std::uint64_t bits(int begin, int end) {
    const std::uint64_t below = end >= 64 ? ~std::uint64_t{0} : (std::uint64_t{1} << end) - 1;
    return below & (~std::uint64_t{0} << begin);
}

}  // namespace

BlockSet::BlockSet(int widthPx, int heightPx)
    : columns_((widthPx + kSidePx - 1) / kSidePx),
      rows_((heightPx + kSidePx - 1) / kSidePx),
      wordsPerRow_((columns_ + kBits - 1) / kBits),
      words_(static_cast<std::size_t>(wordsPerRow_ * rows_)) {}

BlockSet BlockSet::all(int widthPx, int heightPx) {
    BlockSet blocks(widthPx, heightPx);
    blocks.fill();
    return blocks;
}

bool BlockSet::isEmpty() const {
    return std::ranges::all_of(words_, [](std::uint64_t word) { return word == 0; });
}

int BlockSet::count() const {
    int count = 0;
    for (const std::uint64_t word : words_) count += std::popcount(word);
    return count;
}

void BlockSet::clear() { std::ranges::fill(words_, 0); }

void BlockSet::fill() { add(PixelRect{0, 0, columns_ * kSidePx, rows_ * kSidePx}); }

void BlockSet::add(const PixelRect& px) {
    const PixelRect inside = px.intersection({0, 0, columns_ * kSidePx, rows_ * kSidePx});
    if (inside.isEmpty()) return;
    const int begin = inside.x / kSidePx;
    const int end = (inside.maxX() - 1) / kSidePx + 1;
    for (int row = inside.y / kSidePx; row * kSidePx < inside.maxY(); ++row)
        for (int i = begin / kBits; i * kBits < end; ++i)
            words_[static_cast<std::size_t>(row * wordsPerRow_ + i)] |=
                bits(std::max(begin - i * kBits, 0), std::min(end - i * kBits, kBits));
}

void BlockSet::add(const BlockSet& other) {
    assert(columns_ == other.columns_ && rows_ == other.rows_);
    for (std::size_t i = 0; i < words_.size(); ++i) words_[i] |= other.words_[i];
}

int BlockSet::next(int column, int row, bool isIn) const {
    while (column < columns_) {
        const std::uint64_t ahead = (isIn ? word(column, row) : ~word(column, row)) >> (column % kBits);
        if (ahead != 0) return std::min(column + std::countr_zero(ahead), columns_);
        column += kBits - column % kBits;
    }
    return columns_;
}

}  // namespace kasto
