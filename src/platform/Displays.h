#pragma once

#include "base/Geometry.h"

#include <optional>
#include <string>
#include <vector>

namespace kasto {

struct Display {
    DisplayId id = 0;
    std::string name;
    Rect boundsPts;    // global points
    double scale = 1;  // pixels per point
    bool isMain = false;
};

// The attached displays. Any thread. Each call answers for the moment of the call. Without a connection to
// the desktop there are no displays.
class Displays {
public:
    virtual ~Displays() = default;

    virtual std::vector<Display> all() const = 0;

    // The display under a point in global points, if there is one there.
    virtual std::optional<DisplayId> displayAt(Point globalPts) const = 0;

    // 0 if there is no display.
    virtual DisplayId mainDisplay() const = 0;
};

}  // namespace kasto
