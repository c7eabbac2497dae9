#pragma once

#include "base/FileDescriptor.h"
#include "base/Result.h"
#include "linux/evdev/ContactDecoder.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace kasto::evdev {

// An open touchpad of the kernel, not grabbed: whoever else reads it goes on doing so. One thread.
class Touchpad {
public:
    using Report = std::function<void(const std::vector<MTContact>&, double timeS)>;

    // `path` is a device node. An error where there is no right to read it or it is no multi-touch touchpad.
    static Result<std::unique_ptr<Touchpad>> open(const std::string& path);

    int fd() const { return fd_.get(); }

    // Reports the frames that wait, at times of the monotonic clock. False once the device is gone.
    bool read(const Report& report);

    // Reports fingers that rest once more, as of now.
    void repeat(const Report& report);
    bool hasFingers() const { return decoder_.hasFingers(); }

private:
    Touchpad(FileDescriptor fd, const TouchpadShape& shape);
    void restore();

    FileDescriptor fd_;
    std::size_t slots_;
    ContactDecoder decoder_;
};

}  // namespace kasto::evdev
