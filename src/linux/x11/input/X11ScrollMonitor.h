#pragma once

#include "base/FileDescriptor.h"
#include "linux/x11/input/ScrollDevices.h"
#include "linux/x11/server/Connection.h"
#include "platform/PointerInput.h"

#include <thread>

namespace kasto::x11 {

// Scrolling anywhere on an X server, by the raw events it sends to whoever asks: nothing is grabbed. A
// connection and a thread of its own; when the server goes, no more scrolling is reported.
class X11ScrollMonitor : public ScrollMonitor {
public:
    // `pointer` tells the modifiers and outlives the monitor. Null when the server has no raw events.
    static std::unique_ptr<X11ScrollMonitor> open(const std::string& displayName, const PointerInput& pointer,
                                                  std::function<void(const ScrollEvent&)> onScroll);
    ~X11ScrollMonitor() override;

private:
    X11ScrollMonitor(Connection connection, FileDescriptor stop, const PointerInput& pointer,
                     std::function<void(const ScrollEvent&)> onScroll);
    void run();
    void takeEvents();
    void report(Vector notches, const PointerState& held) const;

    const Connection connection_;
    const FileDescriptor stop_;
    const PointerInput& pointer_;
    const std::function<void(const ScrollEvent&)> onScroll_;
    const std::uint8_t extension_;
    ScrollDevices devices_{connection_.raw()};
    std::thread thread_;
};

}  // namespace kasto::x11
