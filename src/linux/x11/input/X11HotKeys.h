#pragma once

#include "linux/x11/input/Keyboard.h"
#include "platform/HotKeyService.h"

#include <xcb/xcb.h>

#include <memory>
#include <vector>

namespace kasto::x11 {

// Chords and clicks by passive grabs on the root window. They hold in every state of the lock keys, and
// follow the keyboard's mapping and its active layout group. Main thread.
//
// The grabs are made on the connection of the user interface, which hands its events in here. A grab of
// another connection would keep the user interface from opening a menu while the keys are down.
class X11HotKeys : public HotKeyService {
public:
    // The connection must outlive this. Its first screen is used.
    explicit X11HotKeys(xcb_connection_t* connection);
    ~X11HotKeys() override;

    std::unique_ptr<HotKeyRegistration> registerChord(const KeyChord& chord,
                                                      std::function<void()> onPress) override;

    std::unique_ptr<HotKeyRegistration> keepFnRightClick() override;

    // To be called with every event of the connection. True if the event belongs to a grab, so that the user
    // interface is not to handle it.
    bool handleEvent(const xcb_generic_event_t* event);

private:
    class Grab;
    class KeyGrab;
    class ClickGrab;
    xcb_connection_t* connection_;
    xcb_window_t root_;
    KeyboardReader keyboard_;
    std::vector<Grab*> grabs_;
};

}  // namespace kasto::x11
