#pragma once

#include "base/Geometry.h"

#include <optional>

namespace kasto {

// The pointer, wherever it is and whoever has the focus. Any thread.
class PointerInput {
public:
    virtual ~PointerInput() = default;

    // In global points; none when it cannot be told.
    virtual std::optional<Point> location() const = 0;
};

}  // namespace kasto
