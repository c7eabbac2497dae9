#pragma once

#include <optional>
#include <string>

namespace kasto {

// The right to record the screen. Main thread.
class ScreenAccess {
public:
    virtual ~ScreenAccess() = default;

    // Whether it is granted now.
    virtual bool preflight() const = 0;

    // Asks the user for it and returns at once. `preflight` tells the answer later.
    virtual void request() = 0;

    // A link to the desktop's settings page for this right, or none if there is no such page.
    virtual std::optional<std::string> settingsLink() const = 0;

    // Whether the program may watch input as assistive programs do. Only written to the log.
    virtual bool accessibilityTrusted() const = 0;
};

}  // namespace kasto
