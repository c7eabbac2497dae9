#pragma once

#include "imaging/BlockSet.h"
#include "imaging/PixelBuffer.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace kasto {

// The macroblocks in which two i420 pictures of one size differ, in the order of their numbers. One thread at
// a time.
class ChangedMacroblocks {
public:
    // Looks for them among the blocks of `where` and stops when there are more than `most`; false then, and
    // the list is of no use.
    bool find(const PixelBuffer& a, const PixelBuffer& b, const BlockSet& where, std::size_t most);

    const std::vector<std::uint32_t>& list() const { return list_; }

private:
    std::vector<std::uint32_t> list_;
};

}  // namespace kasto
