#pragma once

#include "platform/HotKeyService.h"

#include <xcb/xcb.h>

#include <memory>
#include <vector>

namespace kasto::x11 {

// Chords by passive key grabs on the root window, in every state of the lock keys and every layout group.
// Main thread.
//
// The grabs are made on the connection of the program's user interface, whose events are handed in: a grab of
// another connection would keep that interface from opening a menu while the keys are down.
class X11HotKeys : public HotKeyService {
public:
    // The connection must outlive this; its first screen is listened to.
    explicit X11HotKeys(xcb_connection_t* connection);
    ~X11HotKeys() override;

    std::unique_ptr<HotKeyRegistration> registerChord(const KeyChord& chord,
                                                      std::function<void()> onPress) override;

    std::unique_ptr<HotKeyRegistration> keepFnRightClick() override;

    // To be called with every event of the connection. True if the event was of
    // what is kept here and goes no further.
    bool handleEvent(const xcb_generic_event_t* event);

private:
    class Grab;
    class ClickGrab;
    xcb_connection_t* connection_;
    xcb_window_t root_;
    std::vector<Grab*> grabs_;
};

}  // namespace kasto::x11
