#pragma once

#include "imaging/PixelBuffer.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace kasto {

inline constexpr int kMacroblock = 16;  // pixels of luma on each side

// The macroblocks in which two i420 pictures of one size differ, in the order of their numbers. One thread at
// a time.
class ChangedMacroblocks {
public:
    // Looks for them and stops when there are more than `most`; false then, and the list is of no use.
    bool find(const PixelBuffer& a, const PixelBuffer& b, std::size_t most);

    const std::vector<std::uint32_t>& list() const { return list_; }

private:
    void findInRow(const PixelBuffer& a, const PixelBuffer& b, int row);

    std::vector<std::uint32_t> list_;
    std::vector<char> isChanged_;  // by column
};

}  // namespace kasto
