#pragma once

#include "base/Geometry.h"

#include <xcb/xinput.h>

#include <cstdint>
#include <map>
#include <vector>

namespace kasto::x11 {

// Which axes of the pointing devices scroll, and what their raw events mean in notches of a wheel. Devices
// are asked for when they first move. One thread.
class ScrollDevices {
public:
    explicit ScrollDevices(xcb_connection_t* connection) : connection_(connection) {}

    // How far a raw event scrolls, in notches towards the content's beginning; nothing for other motions and
    // for the presses with which a server repeats smooth scrolling. Values beyond reason are cut.
    Vector notchesOf(const xcb_input_raw_button_press_event_t& event);

    // Devices have changed: they are asked anew.
    void forget() { axesOf_.clear(); }

private:
    struct Axis {
        int valuator = 0;
        bool isVertical = false;
        double increment = 1;  // of a notch
    };
    const std::vector<Axis>& axesOf(xcb_input_device_id_t device);

    xcb_connection_t* connection_;
    std::map<xcb_input_device_id_t, std::vector<Axis>> axesOf_;
};

}  // namespace kasto::x11
