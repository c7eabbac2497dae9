#pragma once

#include <functional>
#include <memory>

namespace kasto {

// A key together with modifiers: exactly these are held, apart from lock keys such as Caps Lock.
struct KeyChord {
    char32_t key = 0;  // the letter that the key types without modifiers, in lower case
    bool control = false;
    bool option = false;   // Alt
    bool command = false;  // Super
    bool shift = false;
    bool operator==(const KeyChord&) const = default;
};

// Reserves a chord or a click for this program until it is destroyed. Main thread. It must be destroyed
// before the service that made it.
class HotKeyRegistration {
public:
    virtual ~HotKeyRegistration() = default;
};

// Chords that reach the program whichever window has the focus. Main thread.
class HotKeyService {
public:
    virtual ~HotKeyService() = default;

    // Calls `onPress` on the main thread once per press; keys that stay down and repeat do not call it again.
    // Null when another program has reserved the chord, or the keyboard has no such keys.
    virtual std::unique_ptr<HotKeyRegistration> registerChord(const KeyChord& chord,
                                                              std::function<void()> onPress) = 0;

    // While the result exists, fn + right click reaches no other program, where it would open a menu over our
    // own. The pointer's state still shows it. Null when another program has reserved it.
    virtual std::unique_ptr<HotKeyRegistration> keepFnRightClick() = 0;
};

}  // namespace kasto
