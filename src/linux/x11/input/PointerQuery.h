#pragma once

#include "base/Guarded.h"
#include "linux/x11/input/KeyboardMap.h"
#include "linux/x11/server/Connection.h"
#include "platform/PointerInput.h"

#include <optional>
#include <string>

namespace kasto::x11 {

class X11Displays;

// Asks the server for the pointer, over a connection of its own. Any thread.
class PointerQuery {
public:
    // `displays` tells the scale and must outlive the query. An empty name takes $DISPLAY.
    static Result<PointerQuery> open(const std::string& displayName, const X11Displays& displays);

    const Connection& connection() const { return connection_; }

    // One round trip. None when the server is gone or the pointer is on another of its screens.
    std::optional<PointerState> ask() const;

    // What the server told unasked: a place in the root window, and the mask of buttons and modifiers.
    PointerState stateOf(int rootX, int rootY, unsigned mask) const;

    // Notices that modifiers were mapped anew, among the events that have come; true if there were any.
    bool takeEvents() const;

private:
    PointerQuery(Connection connection, const X11Displays& displays);

    Connection connection_;
    const X11Displays* displays_;
    // Behind a pointer, that the query can be moved.
    std::unique_ptr<Guarded<ModifierBits>> modifiers_;
};

}  // namespace kasto::x11
