#pragma once

#include "base/Guarded.h"
#include "platform/Displays.h"
#include "platform/PointerInput.h"

#include <atomic>
#include <optional>
#include <utility>
#include <vector>

namespace kasto::test {

// Displays as a test lists them; the first one is the main one. Set up before use from other threads.
class FakeDisplays : public Displays {
public:
    std::vector<Display> displays{{1, "one", {0, 0, 640, 360}, 1, true}};

    std::vector<Display> all() const override { return displays; }

    std::optional<DisplayId> displayAt(Point globalPts) const override {
        for (const auto& display : displays)
            if (display.boundsPts.contains(globalPts)) return display.id;
        return std::nullopt;
    }

    DisplayId mainDisplay() const override { return displays.empty() ? 0 : displays.front().id; }

    void setOnChange(std::function<void()> onChange) override { onChange_ = std::move(onChange); }

private:
    std::function<void()> onChange_;
};

class FakePointer : public PointerInput {
public:
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
