#pragma once

#include "base/FileDescriptor.h"
#include "base/Result.h"
#include "linux/evdev/ContactDecoder.h"

#include <functional>
#include <memory>
#include <span>
#include <string>

struct libevdev;

namespace kasto::evdev {

// The shape of a touchpad that libevdev knows.
TouchpadShape shapeOf(const libevdev* device);

// An open touchpad of the kernel. It is not grabbed, so other programs go on reading it. One thread.
class Touchpad {
public:
    // Contacts, valid during the call, and the time of the monotonic clock they were seen at, in seconds.
    using Report = std::function<void(std::span<const Contact>, double timeS)>;

    // `path` is a device node. An error when it may not be read or is no multi-touch touchpad.
    static Result<std::unique_ptr<Touchpad>> open(const std::string& path);

    // Takes over a non-blocking descriptor that delivers the kernel's events for a touchpad of this shape.
    Touchpad(FileDescriptor fd, const TouchpadShape& shape);

    int fd() const { return fd_.get(); }

    // Reports all frames that have arrived. False once the touchpad cannot be read any more: it was
    // unplugged, or access to it was revoked.
    bool read(const Report& report);

    // Reports the contacts of the last frame once more, with the present time.
    void repeat(const Report& report);

    // True while fingers touch the pad.
    bool hasFingers() const { return decoder_.hasFingers(); }

private:
    // Asks the kernel for the state the touchpad is in.
    void restore();

    FileDescriptor fd_;
    std::size_t slotCount_;
    ContactDecoder decoder_;
};

}  // namespace kasto::evdev
