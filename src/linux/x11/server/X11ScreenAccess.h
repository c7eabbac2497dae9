#pragma once

#include "platform/ScreenAccess.h"

namespace kasto::x11 {

// An X server lets every client of its user read the screen; there is nothing to ask for, and no trust for
// accessibility to be given.
class X11ScreenAccess : public ScreenAccess {
public:
    bool preflight() const override { return true; }
    void request() override {}
    std::optional<std::string> settingsLink() const override { return std::nullopt; }
    bool accessibilityTrusted() const override { return false; }
};

}  // namespace kasto::x11
