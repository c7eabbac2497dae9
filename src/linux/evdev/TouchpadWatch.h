#pragma once

#include "linux/evdev/TouchpadSource.h"

#include <libudev.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kasto::evdev {

// The touchpads that udev, the system's device manager, knows.
class TouchpadWatch : public TouchpadSource {
public:
    TouchpadWatch();

    std::vector<std::string> present() const override;
    int fd() const override;
    std::optional<std::string> nextAdded() override;
    Result<std::unique_ptr<Touchpad>> open(const std::string& path) const override {
        return Touchpad::open(path);
    }

private:
    struct Free {
        void operator()(udev* context) const { udev_unref(context); }
        void operator()(udev_monitor* monitor) const { udev_monitor_unref(monitor); }
        void operator()(udev_enumerate* list) const { udev_enumerate_unref(list); }
        void operator()(udev_device* device) const { udev_device_unref(device); }
    };
    using Device = std::unique_ptr<udev_device, Free>;

    // The path of the device's node; none when it is no touchpad.
    static std::optional<std::string> touchpadNode(const Device& device);

    std::unique_ptr<udev, Free> udev_;
    std::unique_ptr<udev_monitor, Free> monitor_;
};

}  // namespace kasto::evdev
