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

// The properties of a touchpad that matter for contacts.
struct TouchpadShape {
    AxisRange x, y;
    // How many contacts it tracks. 0 for one that lists its contacts anew in every frame.
    int slots = 0;
    // Whether its pressure axis tells touching fingers from hovering ones.
    bool pressureTellsTouch = false;
    int noPressure = 0;  // the pressure of a hovering finger
};

// The state of one contact, in the touchpad's own units.
struct Slot {
    int trackingId = -1;  // negative when there is no finger
    int x = 0;
    int y = 0;
    int pressure = 0;
    int distance = 0;
    int tool = MT_TOOL_FINGER;
};

// Turns the kernel's events of one touchpad into contact frames. Any events in any order are taken, and the
// coordinates of the contacts are always between 0 and 1. One thread.
class ContactDecoder {
public:
    static constexpr int kMaxContacts = 32;

    enum class Outcome {
        pending,    // the frame is not complete, or has nothing to tell
        frame,      // `contacts` holds a new frame
        stateLost,  // the kernel dropped events; `restore` is to be called with the present state
    };

    explicit ContactDecoder(const TouchpadShape& shape);

    Outcome take(const input_event& event);

    // Sets the touchpad's present state, before the first event and after events were dropped.
    // `countedFingers` is the number its tool buttons report, 0 for none. Afterwards `contacts` holds a new
    // frame.
    void restore(std::span<const Slot> slots, int currentSlot, int countedFingers);

    // Turns `contacts` into the frame of fingers that have not moved since: new touches become lasting ones,
    // and ended touches are left out.
    void repeat();

    const std::vector<Contact>& contacts() const { return contacts_; }
    bool hasFingers() const { return hasFingers_; }

private:
    struct TrackedSlot : Slot {
        bool wasTouching = false;  // in the frame before
    };

    Outcome takeSync(int code);
    void takeAxis(int code, int value);
    void takeTool(int code, bool down);
    bool buildFrame();
    void addTracked(TrackedSlot& slot);
    void addCounted();
    bool touches(const Slot& slot) const;
    void add(double x, double y, Contact::State state);

    const TouchpadShape shape_;
    std::vector<TrackedSlot> slots_;
    std::vector<TrackedSlot> listed_;  // complete contacts of the present frame, without slots
    TrackedSlot pending_;              // the contact being listed, without slots
    std::size_t currentSlot_ = 0;
    unsigned toolFingers_ = 0;  // bit n is set while the tool button for n fingers is down
    bool discards_ = false;     // until the frame in which events were dropped ends
    bool hasFingers_ = false;
    std::vector<Contact> contacts_;
};

}  // namespace kasto::evdev
