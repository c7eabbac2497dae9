#pragma once

#include "base/Geometry.h"

namespace kasto {

// The recorded part of the desktop, and how its global points map to capture pixels.
//
// Capture pixels are the pixels of the movie's frame at zoom 1: origin top-left, y downward. The movie's size
// never changes, but the recorded display may move, or change its resolution, in mid-take. Its picture is
// then fitted into the frame without distortion, with black bars on two sides where the proportions differ.
//
// The area is an immutable value. Each snapshot of the model carries the area it was made with, so that
// everything drawn from one snapshot agrees even if the area changes meanwhile.
class CaptureArea {
public:
    // No area: it contains no point.
    CaptureArea() = default;

    // An area, in global points, that fills the movie's frame of this size in pixels. Neither may be empty.
    CaptureArea(const Rect& shownPts, Size sizePx);

    // An area whose picture of this size in pixels is fitted into the movie's frame. None may be empty.
    static CaptureArea fitting(const Rect& shownPts, Size picturePx, Size framePx);

    // The rectangle of global points that fills the frame, including that of black bars.
    const Rect& boundsPts() const { return boundsPts_; }

    // The recorded part of the desktop, without black bars.
    const Rect& shownPts() const { return shownPts_; }

    // The size of the movie's frame.
    Size sizePx() const { return sizePx_; }

    // Pixels per point, horizontally and vertically.
    double sx() const { return sx_; }
    double sy() const { return sy_; }

    bool isEmpty() const { return shownPts_.isEmpty(); }

    // True for a point of the recorded part. Its right and bottom edges are outside.
    bool contains(Point globalPts) const { return shownPts_.contains(globalPts); }

    // A point in capture pixels. One outside the recorded part is moved onto its border.
    Point toPx(Point globalPts) const;

    bool operator==(const CaptureArea&) const = default;

private:
    Rect shownPts_;
    Rect boundsPts_;
    Rect shownInBoundsPts_;  // counted from the top-left corner of the bounds
    Size sizePx_;
    double sx_ = 1;
    double sy_ = 1;
};

// Where a picture of this size lies in a frame when it is fitted in without distortion and centred: whole
// pixels, origin top-left.
Rect fittedPx(Size picturePx, Size framePx);

}  // namespace kasto
