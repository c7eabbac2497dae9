#pragma once

#include "base/Result.h"
#include "platform/Displays.h"

#include <memory>
#include <string>

namespace kasto::x11 {

// The monitors of an X screen. One scale holds for all of them, and for as long as this exists: global points
// are pixels of the root window divided by it. Follows the server on a connection and a thread of its own;
// once the server is gone, there are no displays.
class X11Displays : public Displays {
public:
    // An empty name takes $DISPLAY.
    static Result<std::unique_ptr<X11Displays>> open(const std::string& displayName);
    ~X11Displays() override;

    std::vector<Display> all() const override;
    std::optional<DisplayId> displayAt(Point globalPts) const override;
    DisplayId mainDisplay() const override;

    // A display's place in the root window, in pixels; none when it is not attached. Any thread.
    std::optional<PixelRect> boundsPx(DisplayId display) const;

    // Pixels per point; the same number for the life of this object. Any thread.
    double scale() const;

private:
    class Watch;
    explicit X11Displays(std::unique_ptr<Watch> watch);
    std::unique_ptr<Watch> watch_;
};

}  // namespace kasto::x11
