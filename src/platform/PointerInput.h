#pragma once

#include "base/Geometry.h"

#include <functional>
#include <memory>
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

    bool operator==(const PointerState&) const = default;
};

// One scroll of a wheel or a trackpad, with the modifiers that are held meanwhile.
struct ScrollEvent {
    // How far a notch of a wheel goes; smooth scrolling reports parts of it.
    static constexpr double kPtsPerNotch = 48;

    // Towards the content's beginning: positive when the wheel turns up, or left.
    Vector deltaPts{};
    bool command = false;
    bool option = false;
    bool control = false;
    bool fn = false;
};

// Reports scrolling while it exists. Destroyed by its owner, not from its callback; the callback is not
// running and is not called again when that returns.
class ScrollMonitor {
public:
    virtual ~ScrollMonitor() = default;
};

// Reads the pointer again and again. One thread at a time; it does not outlive the PointerInput.
class PointerFollower {
public:
    virtual ~PointerFollower() = default;

    // Pointer, buttons and modifiers as they are now; none when they cannot be told.
    virtual std::optional<PointerState> state() = 0;
};

// The pointer, wherever it is and whoever has the focus. It only watches: every program still gets what is
// meant for it. Any thread.
class PointerInput {
public:
    virtual ~PointerInput() = default;

    // Pointer, buttons and modifiers at one moment; none when they cannot be told.
    virtual std::optional<PointerState> state() const = 0;

    // For those who ask many times a second. Where the desktop tells of changes, an answer costs next to
    // nothing as long as there is none.
    virtual std::unique_ptr<PointerFollower> follow() const;

    // In global points; none when it cannot be told.
    std::optional<Point> location() const {
        const auto now = state();
        return now ? std::optional(now->globalPts) : std::nullopt;
    }

    // Calls `onScroll` for every scroll from now on, on a thread of the monitor's own. Null where scrolling
    // cannot be watched. The monitor does not outlive this object.
    virtual std::unique_ptr<ScrollMonitor> monitorScroll(
        std::function<void(const ScrollEvent&)> onScroll) const = 0;
};

// Asks each time.
inline std::unique_ptr<PointerFollower> PointerInput::follow() const {
    struct Asking : PointerFollower {
        explicit Asking(const PointerInput& input) : pointer(input) {}
        std::optional<PointerState> state() override { return pointer.state(); }
        const PointerInput& pointer;
    };
    return std::make_unique<Asking>(*this);
}

}  // namespace kasto
