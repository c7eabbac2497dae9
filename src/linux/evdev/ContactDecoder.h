#pragma once

#include "platform/Multitouch.h"

#include <linux/input.h>

#include <span>
#include <vector>

namespace kasto::evdev {

struct AxisRange {
    int minimum = 0;
    int maximum = 0;
};

// What a touchpad reports, as far as contacts go.
struct TouchpadShape {
    AxisRange x, y;
    int slots = 0;  // contacts that it tracks; 0 for one that lists them anew in every frame
    bool hasPressure = false;
    int noPressure = 0;  // the pressure of a finger that only hovers
};

// A contact of a touchpad, in its own units.
struct Slot {
    int trackingId = -1;  // negative: no finger
    int x = 0;
    int y = 0;
    int pressure = 0;
    int distance = 0;
    int tool = MT_TOOL_FINGER;
};

// Turns the kernel's events of one touchpad into contact frames. Takes any events in any order; what it
// hands out has its coordinates between 0 and 1. One thread.
class ContactDecoder {
public:
    static constexpr int kMostContacts = 32;

    enum class Outcome {
        pending,    // the frame goes on, or there is nothing in it
        frame,      // `contacts` is a new frame
        stateLost,  // events are missing: `restore` what the kernel knows
    };

    explicit ContactDecoder(const TouchpadShape& shape);

    Outcome take(const input_event& event);

    // The state the pad is in, when events were missed or before the first one. `countedFingers` as its tool
    // buttons tell. The frame in `contacts` is new then.
    void restore(std::span<const Slot> slots, int currentSlot, int countedFingers);

    // The frame once more, for fingers that rest: a pad reports changes only.
    void repeat();

    const std::vector<MTContact>& contacts() const { return contacts_; }
    bool hasFingers() const { return hasFingers_; }

private:
    struct TrackedSlot : Slot {
        bool wasTouching = false;
    };

    Outcome takeSync(int code);
    void takeAxis(int code, int value);
    void takeTool(int code, bool down);
    bool buildFrame();
    void addTracked(TrackedSlot& slot);
    void addCounted();
    bool touches(const Slot& slot) const;
    void add(double x, double y, std::int32_t state);

    const TouchpadShape shape_;
    std::vector<TrackedSlot> slots_;
    std::vector<TrackedSlot> listed_;  // by a pad without slots, in the frame so far
    TrackedSlot pending_;              // of such a pad, until its contact is complete
    std::size_t currentSlot_ = 0;
    unsigned toolFingers_ = 0;  // a bit per number of fingers
    bool discards_ = false;
    bool hasFingers_ = false;
    std::vector<MTContact> contacts_;
};

}  // namespace kasto::evdev
