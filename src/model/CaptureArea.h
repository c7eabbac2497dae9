#pragma once

#include "base/Geometry.h"

namespace kasto {

// The recorded part of the desktop, and how its global points map to capture pixels.
//
// Capture pixels are the pixels of the movie's frame at zoom 1: origin top-left, y downward. The area is an
// immutable value. Each snapshot of the model carries the area it was made with, so that everything drawn
// from one snapshot agrees even if the area changes meanwhile.
class CaptureArea {
public:
    // No area: it contains no point.
    CaptureArea() = default;

    // The area in global points, which must not be empty, and the size of the movie's frame in pixels.
    CaptureArea(const Rect& boundsPts, Size sizePx);

    const Rect& boundsPts() const { return boundsPts_; }
    Size sizePx() const { return sizePx_; }

    // Pixels per point, horizontally and vertically.
    double sx() const { return sx_; }
    double sy() const { return sy_; }

    bool isEmpty() const { return boundsPts_.isEmpty(); }

    // True for a point inside the area. The right and bottom edges are outside.
    bool contains(Point globalPts) const { return boundsPts_.contains(globalPts); }

    // A point in capture pixels. One outside the area is moved onto its border.
    Point toPx(Point globalPts) const;

    bool operator==(const CaptureArea&) const = default;

private:
    Rect boundsPts_;
    Size sizePx_;
    double sx_ = 1;
    double sy_ = 1;
};

}  // namespace kasto
