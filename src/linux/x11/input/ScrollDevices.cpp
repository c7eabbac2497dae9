#include "linux/x11/input/ScrollDevices.h"

#include "linux/x11/server/Connection.h"

#include <algorithm>
#include <cmath>

namespace kasto::x11 {

namespace {

constexpr double kMaxNotches = 50;
constexpr double kMinIncrement = 1e-3;

double toDouble(xcb_input_fp3232_t value) { return value.integral + value.frac / 4294967296.0; }

// Without scroll axes a wheel presses buttons 4 to 7, once per notch.
Vector notchesOfButton(std::uint32_t button) {
    switch (button) {
        case 4:
            return {0, 1};
        case 5:
            return {0, -1};
        case 6:
            return {1, 0};
        case 7:
            return {-1, 0};
        default:
            return {};
    }
}

}  // namespace

Vector ScrollDevices::notchesOf(const xcb_input_raw_button_press_event_t& event) {
    const auto& axes = axesOf(event.sourceid);
    if (event.event_type == XCB_INPUT_RAW_BUTTON_PRESS) {
        const bool isEmulated = (event.flags & XCB_INPUT_POINTER_EVENT_FLAGS_POINTER_EMULATED) != 0;
        return isEmulated || !axes.empty() ? Vector{} : notchesOfButton(event.detail);
    }
    Vector notches;
    const auto* mask = xcb_input_raw_button_press_valuator_mask(&event);
    const auto* value = xcb_input_raw_button_press_axisvalues_raw(&event);
    for (int valuator = 0; valuator < event.valuators_len * 32; ++valuator) {
        if ((mask[valuator / 32] >> (valuator % 32) & 1) == 0) continue;
        const double moved = toDouble(*value++);
        const auto axis = std::ranges::find(axes, valuator, &Axis::valuator);
        if (axis == axes.end()) continue;
        // A scroll axis grows towards the end of the content.
        (axis->isVertical ? notches.dy : notches.dx) -=
            std::clamp(moved / axis->increment, -kMaxNotches, kMaxNotches);
    }
    return notches;
}

const std::vector<ScrollDevices::Axis>& ScrollDevices::axesOf(xcb_input_device_id_t device) {
    const auto known = axesOf_.find(device);
    if (known != axesOf_.end()) return known->second;
    auto& axes = axesOf_[device];
    const Reply<xcb_input_xi_query_device_reply_t> reply(xcb_input_xi_query_device_reply(
        connection_, xcb_input_xi_query_device(connection_, device), nullptr));
    if (!reply) return axes;
    auto info = xcb_input_xi_query_device_infos_iterator(reply.get());
    if (info.rem == 0) return axes;
    for (auto it = xcb_input_xi_device_info_classes_iterator(info.data); it.rem;
         xcb_input_device_class_next(&it)) {
        if (it.data->type != XCB_INPUT_DEVICE_CLASS_TYPE_SCROLL) continue;
        const auto* scroll = reinterpret_cast<const xcb_input_scroll_class_t*>(it.data);
        const double increment = toDouble(scroll->increment);
        if (std::abs(increment) < kMinIncrement) continue;
        axes.push_back({scroll->number, scroll->scroll_type == XCB_INPUT_SCROLL_TYPE_VERTICAL, increment});
    }
    return axes;
}

}  // namespace kasto::x11
