#pragma once

#include "base/Guarded.h"
#include "platform/PointerInput.h"

#include <atomic>
#include <optional>

namespace kasto::test {

// A pointer that is where a test puts it, and scrolls when a test says so.
struct FakePointer : PointerInput {
    using OnScroll = std::function<void(const ScrollEvent&)>;
    struct Monitor : ScrollMonitor {
        explicit Monitor(Guarded<OnScroll>& target) : onScroll(target) {}
        ~Monitor() override { onScroll.set({}); }
        Guarded<OnScroll>& onScroll;
    };

    std::optional<Point> at;
    Guarded<PointerState> held;
    mutable std::atomic<int> asked = 0;
    mutable Guarded<OnScroll> onScroll;

    // True if somebody watches.
    bool scroll(const ScrollEvent& event) const {
        const auto callback = onScroll.copy();
        if (callback) callback(event);
        return static_cast<bool>(callback);
    }

    std::optional<PointerState> state() const override {
        ++asked;
        if (!at) return std::nullopt;
        auto now = held.copy();
        now.globalPts = *at;
        return now;
    }
    std::unique_ptr<ScrollMonitor> monitorScroll(OnScroll callback) const override {
        onScroll.set(std::move(callback));
        return std::make_unique<Monitor>(onScroll);
    }
};

}  // namespace kasto::test
