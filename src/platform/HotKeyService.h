#pragma once

#include <cstdint>
#include <functional>
#include <memory>

namespace kasto {

// A key with modifiers, all of them held and no others but locks.
struct KeyChord {
    char32_t key = 0;  // what the key types without modifiers, lower case
    bool control = false;
    bool option = false;   // Alt
    bool command = false;  // Super
    bool shift = false;
    bool operator==(const KeyChord&) const = default;
};

// A chord that is ours; destroying it gives the chord free. Main thread, and gone before its service.
class HotKeyRegistration {
public:
    virtual ~HotKeyRegistration() = default;
};

// Chords that reach the program whatever has the focus. Main thread.
class HotKeyService {
public:
    virtual ~HotKeyService() = default;

    // Calls `onPress` on the main thread once per press, not again while the keys stay down. Null when the
    // chord cannot be had: another program has it, or the keyboard has no such key.
    virtual std::unique_ptr<HotKeyRegistration> registerChord(const KeyChord& chord,
                                                              std::function<void()> onPress) = 0;

    // For as long as the result lives no other program sees fn + right click, which would open its own menu
    // over ours; the pointer's state tells of it all the same. Null when another program has it.
    virtual std::unique_ptr<HotKeyRegistration> keepFnRightClick() = 0;
};

}  // namespace kasto
