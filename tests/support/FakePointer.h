#pragma once

#include "base/Guarded.h"
#include "platform/PointerInput.h"

#include <atomic>
#include <optional>

namespace kasto::test {

// A pointer that is where a test puts it.
struct FakePointer : PointerInput {
    std::optional<Point> at;
    Guarded<PointerState> held;
    mutable std::atomic<int> asked = 0;

    std::optional<PointerState> state() const override {
        ++asked;
        if (!at) return std::nullopt;
        auto now = held.copy();
        now.globalPts = *at;
        return now;
    }
};

}  // namespace kasto::test
