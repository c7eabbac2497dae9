#pragma once

#include "base/Guarded.h"
#include "linux/x11/input/Keyboard.h"
#include "linux/x11/server/Connection.h"
#include "platform/PointerInput.h"

#include <optional>
#include <string>

namespace kasto::x11 {

class X11Displays;

// Asks an X server for the pointer, over a connection of its own. Any thread.
class PointerQuery {
public:
    // `displays` provides the scale and must outlive the query. An empty name takes $DISPLAY.
    static Result<PointerQuery> open(const std::string& displayName, const X11Displays& displays);

    const Connection& connection() const { return connection_; }

    // One round trip. None when the server is gone, or when the pointer is on another of its screens.
    std::optional<PointerState> ask() const;

    // The state that an event tells: a place in pixels of the root window, and a mask of buttons and
    // modifiers.
    PointerState stateOf(int rootX, int rootY, unsigned mask) const;

    // Takes the events that have arrived and follows a changed modifier mapping. True if there were any.
    bool takeEvents() const;

private:
    PointerQuery(Connection connection, const X11Displays& displays);

    Connection connection_;
    const X11Displays* displays_;
    KeyboardReader keyboard_;
    // Held by a pointer because a lock cannot be moved, but the query can.
    std::unique_ptr<Guarded<ModifierBits>> modifiers_;
};

}  // namespace kasto::x11
