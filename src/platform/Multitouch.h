#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>

namespace kasto {

// One finger of a contact frame.
struct Contact {
    // The numbers appear in the log.
    enum class State : std::int32_t { hovering = 2, makingTouch = 3, touching = 4, breakingTouch = 5 };

    State state = State::hovering;  // palms count as hovering
    float x = 0;                    // from 0 at the touchpad's left edge to 1 at its right edge
    float y = 0;                    // from 0 at its lower edge, next to the user, to 1 at its upper edge

    bool isOnPad() const { return state == State::makingTouch || state == State::touching; }
};

// Reads the touchpads while it exists. Its destructor returns when no frame is being handed out any more.
// Main thread.
class MultitouchReading {
public:
    virtual ~MultitouchReading() = default;

    // How many touchpads were open when the reading began.
    virtual std::size_t touchpadCount() const = 0;
};

// The fingers on the touchpads, before the system turns them into pointer motion. Reading takes nothing away
// from other programs. Main thread.
class Multitouch {
public:
    // All contacts of one touchpad at one time of the monotonic clock, in seconds. Called on a thread of the
    // reading's own, never concurrently; the contacts are valid during the call. A frame without contacts
    // ends whatever the fingers were doing.
    using OnFrame = std::function<void(std::span<const Contact>, double timeS)>;

    virtual ~Multitouch() = default;

    // Reads every touchpad there is, and from then on every one that is plugged in or comes back. A touchpad
    // that is unplugged, or that the session loses access to, reports one frame without contacts. Null when
    // there are touchpads but none of them may be read.
    virtual std::unique_ptr<MultitouchReading> read(OnFrame onFrame) = 0;
};

}  // namespace kasto
