#pragma once

#include "base/Geometry.h"

#include <xcb/xinput.h>

#include <cstdint>
#include <map>
#include <vector>

namespace kasto::x11 {

// Converts raw events of pointing devices into notches of a wheel. A device is asked for its scroll axes when
// its first event arrives. One thread.
class ScrollDevices {
public:
    explicit ScrollDevices(xcb_connection_t* connection) : connection_(connection) {}

    // How far a raw motion or button press scrolls, in notches, positive towards the beginning of the
    // content. Zero for motion of the pointer, for presses of other buttons, and for the presses that a
    // server makes up from smooth scrolling, which has been counted already. Never more than 50 notches.
    Vector notchesOf(const xcb_input_raw_button_press_event_t& event);

    // To be called after devices have changed: they are asked again.
    void forget() { axesOf_.clear(); }

private:
    struct Axis {
        int valuator = 0;  // the axis number
        bool isVertical = false;
        double increment = 1;  // how far the axis moves in one notch
    };
    const std::vector<Axis>& axesOf(xcb_input_device_id_t device);

    xcb_connection_t* connection_;
    std::map<xcb_input_device_id_t, std::vector<Axis>> axesOf_;
};

}  // namespace kasto::x11
