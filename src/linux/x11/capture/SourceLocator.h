#pragma once

#include "base/Geometry.h"

#include <optional>

namespace kasto::x11 {
class X11Displays;

// The part of the screen that a stream shows.
struct Source {
    PixelRect px;  // in the root window; empty if the display does not show the part
    Rect pts;      // in global points
};

// Finds the part of a display that a stream shows, also after the display has moved or changed its size or
// scale. Any thread.
class SourceLocator {
public:
    // `partPts` is measured from the display's top-left corner; none takes the whole display. `displays`
    // outlives this.
    SourceLocator(const X11Displays& displays, std::optional<Rect> partPts)
        : displays_(displays), partPts_(partPts) {}

    // Pixels per point now.
    double scale() const;

    // The part, cut to a display that lies at `displayPx` in the root window.
    Source locate(const PixelRect& displayPx, double scale) const;

private:
    const X11Displays& displays_;
    std::optional<Rect> partPts_;
};

}  // namespace kasto::x11
