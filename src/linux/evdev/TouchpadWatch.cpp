#include "linux/evdev/TouchpadWatch.h"

#include <string_view>

namespace kasto::evdev {

TouchpadWatch::TouchpadWatch() : udev_(udev_new()) {
    if (!udev_) return;
    monitor_.reset(udev_monitor_new_from_netlink(udev_.get(), "udev"));
    if (!monitor_) return;
    if (udev_monitor_filter_add_match_subsystem_devtype(monitor_.get(), "input", nullptr) < 0 ||
        udev_monitor_enable_receiving(monitor_.get()) < 0)
        monitor_.reset();
}

std::vector<std::string> TouchpadWatch::present() const {
    std::vector<std::string> nodes;
    if (!udev_) return nodes;
    const std::unique_ptr<udev_enumerate, Free> list(udev_enumerate_new(udev_.get()));
    if (!list) return nodes;
    udev_enumerate_add_match_subsystem(list.get(), "input");
    udev_enumerate_add_match_property(list.get(), "ID_INPUT_TOUCHPAD", "1");
    udev_enumerate_scan_devices(list.get());
    for (auto* entry = udev_enumerate_get_list_entry(list.get()); entry;
         entry = udev_list_entry_get_next(entry)) {
        const Device device(udev_device_new_from_syspath(udev_.get(), udev_list_entry_get_name(entry)));
        if (auto node = touchpadNode(device)) nodes.push_back(std::move(*node));
    }
    return nodes;
}

int TouchpadWatch::fd() const { return monitor_ ? udev_monitor_get_fd(monitor_.get()) : -1; }

std::optional<std::string> TouchpadWatch::nextAdded() {
    while (monitor_) {
        const Device device(udev_monitor_receive_device(monitor_.get()));
        if (!device) return std::nullopt;
        const char* action = udev_device_get_action(device.get());
        if (!action || std::string_view(action) == "remove") continue;
        if (auto node = touchpadNode(device)) return node;
    }
    return std::nullopt;
}

std::optional<std::string> TouchpadWatch::touchpadNode(const Device& device) {
    if (!device) return std::nullopt;
    const char* node = udev_device_get_devnode(device.get());
    const char* touchpad = udev_device_get_property_value(device.get(), "ID_INPUT_TOUCHPAD");
    const char* name = udev_device_get_sysname(device.get());
    if (!node || !name || !touchpad || std::string_view(touchpad) != "1") return std::nullopt;
    // A touchpad also has a node named mouse*, of an older interface that reports pointer motion only.
    if (!std::string_view(name).starts_with("event")) return std::nullopt;
    return node;
}

}  // namespace kasto::evdev
