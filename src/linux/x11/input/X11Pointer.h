#pragma once

#include "base/Result.h"
#include "linux/x11/input/PointerQuery.h"
#include "platform/PointerInput.h"

#include <memory>
#include <string>

namespace kasto::x11 {

class X11Displays;

// The pointer of an X screen, over a connection of its own.
class X11Pointer : public PointerInput {
public:
    // `displays` provides the scale and must outlive the pointer. An empty name takes $DISPLAY.
    static Result<std::unique_ptr<X11Pointer>> open(const std::string& displayName,
                                                    const X11Displays& displays);

    // One round trip. None when the server is gone, or when the pointer is on another of its screens. The
    // modifiers follow the server's modifier mapping (see ModifierBits for fn).
    std::optional<PointerState> state() const override;

    std::unique_ptr<PointerFollower> follow() const override;

    std::unique_ptr<ScrollMonitor> monitorScroll(
        std::function<void(const ScrollEvent&)> onScroll) const override;

private:
    X11Pointer(PointerQuery query, std::string displayName, const X11Displays& displays);

    const PointerQuery query_;
    const std::string displayName_;
    const X11Displays& displays_;
};

}  // namespace kasto::x11
