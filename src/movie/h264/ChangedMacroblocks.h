#pragma once

#include "imaging/BlockSet.h"
#include "imaging/PixelBuffer.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace kasto {

// The macroblocks in which two i420 pictures of one size differ, in the order of their addresses. One thread
// at a time.
class ChangedMacroblocks {
public:
    // Compares the pictures within the blocks of `where`. Stops and returns false when more than `max`
    // macroblocks differ; the list is then incomplete.
    bool find(const PixelBuffer& a, const PixelBuffer& b, const BlockSet& where, std::size_t max);

    const std::vector<std::uint32_t>& list() const { return list_; }

private:
    std::vector<std::uint32_t> list_;
};

}  // namespace kasto
