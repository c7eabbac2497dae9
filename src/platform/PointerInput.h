#pragma once

#include "base/Geometry.h"

#include <functional>
#include <memory>
#include <optional>

namespace kasto {

// The pointer at one moment.
struct PointerState {
    Point globalPts{};
    // Buttons that are down.
    bool left = false;
    bool right = false;
    // Modifiers that are held. A port chooses the keys; on X11 they are Super, Alt, Ctrl, and AltGr for fn
    // (Super as well where a keyboard layout has no AltGr).
    bool command = false;
    bool option = false;
    bool control = false;
    bool fn = false;

    bool operator==(const PointerState&) const = default;
};

// One scroll of a wheel or touchpad, and the modifiers held at that time.
struct ScrollEvent {
    // The distance of one notch of a wheel. Smooth scrolling reports parts of it.
    static constexpr double kPtsPerNotch = 48;

    // Positive towards the beginning of the content: the wheel turns up, or to the left.
    Vector deltaPts{};
    bool command = false;
    bool option = false;
    bool control = false;
    bool fn = false;
};

// Reports scrolling while it exists. When its destructor returns, the callback is not running and is not
// called again. Not to be destroyed from the callback.
class ScrollMonitor {
public:
    virtual ~ScrollMonitor() = default;
};

// Tells the pointer's state to a caller that asks many times a second. Used by one thread at a time. It does
// not outlive the PointerInput that made it.
class PointerFollower {
public:
    virtual ~PointerFollower() = default;

    // The present state; none when it cannot be read.
    virtual std::optional<PointerState> state() = 0;
};

// The pointer of the desktop, whichever window it is over or has the focus. Reading it takes nothing away
// from other programs. Any thread.
class PointerInput {
public:
    virtual ~PointerInput() = default;

    // The present state; none when it cannot be read. May block for a round trip to the desktop.
    virtual std::optional<PointerState> state() const = 0;

    // A follower that is cheap to ask. On a desktop that reports changes it sends no request while nothing
    // changes; the default asks `state` each time.
    virtual std::unique_ptr<PointerFollower> follow() const;

    // The place in global points; none when it cannot be read.
    std::optional<Point> location() const {
        const auto now = state();
        return now ? std::optional(now->globalPts) : std::nullopt;
    }

    // Calls `onScroll` for every scroll from now on, on a thread of the monitor's own. Null where the desktop
    // does not report scrolling. The monitor does not outlive this object.
    virtual std::unique_ptr<ScrollMonitor> monitorScroll(
        std::function<void(const ScrollEvent&)> onScroll) const = 0;
};

inline std::unique_ptr<PointerFollower> PointerInput::follow() const {
    struct AskingFollower : PointerFollower {
        explicit AskingFollower(const PointerInput& input) : pointer(input) {}
        std::optional<PointerState> state() override { return pointer.state(); }
        const PointerInput& pointer;
    };
    return std::make_unique<AskingFollower>(*this);
}

}  // namespace kasto
