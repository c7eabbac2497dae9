#pragma once

#include "platform/ScreenAccess.h"

namespace kasto::x11 {

// An X server lets each of its clients read the screen, so there is no permission to ask for. X11 has no
// trust for accessibility either.
class X11ScreenAccess : public ScreenAccess {
public:
    bool preflight() const override { return true; }
    void request() override {}
    std::optional<std::string> settingsLink() const override { return std::nullopt; }
    bool accessibilityTrusted() const override { return false; }
};

}  // namespace kasto::x11
