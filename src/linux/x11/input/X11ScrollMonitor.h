#pragma once

#include "base/PollThread.h"
#include "linux/x11/input/ScrollDevices.h"
#include "linux/x11/server/Connection.h"
#include "platform/PointerInput.h"

namespace kasto::x11 {

// Scrolling anywhere on an X screen, by XInput2's raw events. Nothing is grabbed, so every program still gets
// the scroll events meant for it. Uses a connection and a thread of its own; once the server is gone, no more
// scrolling is reported.
class X11ScrollMonitor : public ScrollMonitor {
public:
    // `pointer` tells the modifiers and outlives the monitor. Null when the server has no raw events.
    static std::unique_ptr<X11ScrollMonitor> open(const std::string& displayName, const PointerInput& pointer,
                                                  std::function<void(const ScrollEvent&)> onScroll);
    ~X11ScrollMonitor() override;

private:
    X11ScrollMonitor(Connection connection, PollThread thread, const PointerInput& pointer,
                     std::function<void(const ScrollEvent&)> onScroll);
    void run(const PollWaiter& waiter);
    void takeEvents();
    void report(Vector notches, const PointerState& held) const;

    const Connection connection_;
    const PointerInput& pointer_;
    const std::function<void(const ScrollEvent&)> onScroll_;
    const std::uint8_t extension_;
    ScrollDevices devices_{connection_.raw()};
    PollThread thread_;
};

}  // namespace kasto::x11
