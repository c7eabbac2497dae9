#pragma once

#include "base/Geometry.h"

#include <optional>

namespace kasto {

struct PointerState {
    Point globalPts{};
    bool left = false;  // buttons that are down
    bool right = false;
    bool command = false;  // modifiers that are held
    bool option = false;
    bool control = false;
    bool fn = false;
};

// The pointer, wherever it is and whoever has the focus. Any thread.
class PointerInput {
public:
    virtual ~PointerInput() = default;

    // Pointer, buttons and modifiers at one moment; none when they cannot be told.
    virtual std::optional<PointerState> state() const = 0;

    // In global points; none when it cannot be told.
    std::optional<Point> location() const {
        const auto now = state();
        return now ? std::optional(now->globalPts) : std::nullopt;
    }
};

}  // namespace kasto
