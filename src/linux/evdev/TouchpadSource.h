#pragma once

#include "linux/evdev/Touchpad.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kasto::evdev {

// Where touchpads come from: which there are, which are plugged in later, and how one is opened. A touchpad
// is named by the path of its device node. One thread at a time.
class TouchpadSource {
public:
    virtual ~TouchpadSource() = default;

    // The touchpads that are plugged in, those without read permission included.
    virtual std::vector<std::string> present() const = 0;

    // Readable when `nextAdded` has something to tell; -1 where changes are not reported.
    virtual int fd() const = 0;

    // A touchpad that was plugged in since the source was made; to be called until there is none.
    virtual std::optional<std::string> nextAdded() = 0;

    // An error when it is gone or may not be read.
    virtual Result<std::unique_ptr<Touchpad>> open(const std::string& path) const = 0;
};

}  // namespace kasto::evdev
