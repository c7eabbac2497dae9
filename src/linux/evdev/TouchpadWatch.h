#pragma once

#include <libudev.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kasto::evdev {

// The touchpads that the device manager knows. One thread.
class TouchpadWatch {
public:
    TouchpadWatch();

    // Device nodes of the touchpads there are; those that cannot be read included.
    std::vector<std::string> present() const;

    // Readable when a device has come or gone; -1 where the device manager tells no changes.
    int fd() const;

    // The node of a touchpad that has come since; call until there is none.
    std::optional<std::string> nextAdded();

private:
    struct Free {
        void operator()(udev* context) const { udev_unref(context); }
        void operator()(udev_monitor* monitor) const { udev_monitor_unref(monitor); }
        void operator()(udev_enumerate* list) const { udev_enumerate_unref(list); }
        void operator()(udev_device* device) const { udev_device_unref(device); }
    };
    using Device = std::unique_ptr<udev_device, Free>;

    static std::optional<std::string> touchpadNode(const Device& device);

    std::unique_ptr<udev, Free> udev_;
    std::unique_ptr<udev_monitor, Free> monitor_;
};

}  // namespace kasto::evdev
