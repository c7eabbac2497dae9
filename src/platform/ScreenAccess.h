#pragma once

#include <optional>
#include <string>

namespace kasto {

// The right to record the screen. Main thread.
class ScreenAccess {
public:
    virtual ~ScreenAccess() = default;

    virtual bool preflight() const = 0;  // is it granted now
    virtual void request() = 0;          // ask the user for it; the answer shows in `preflight`

    // A link to the desktop's settings page for it; none where there is no such page.
    virtual std::optional<std::string> settingsLink() const = 0;

    // Whether the program may watch input for accessibility; told in the log only.
    virtual bool accessibilityTrusted() const = 0;
};

}  // namespace kasto
