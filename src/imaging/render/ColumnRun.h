#pragma once

#include "base/Geometry.h"

#include <algorithm>

namespace kasto {

// The columns [begin, end) of a row, in pixels.
struct ColumnRun {
    int begin = 0;
    int end = 0;

    int count() const { return std::max(0, end - begin); }
    bool isEmpty() const { return begin >= end; }
    ColumnRun intersection(ColumnRun other) const {
        return {std::max(begin, other.begin), std::min(end, other.end)};
    }

    // Both ends moved outward or inward to multiples of `group`, a power of two.
    ColumnRun alignedOut(int group) const { return {begin & -group, (end + group - 1) & -group}; }
    ColumnRun alignedIn(int group) const { return {(begin + group - 1) & -group, end & -group}; }
};

inline ColumnRun columnsOf(const PixelRect& box) { return {box.x, box.maxX()}; }

inline bool holdsRow(const PixelRect& box, int row) { return row >= box.y && row < box.maxY(); }

}  // namespace kasto
