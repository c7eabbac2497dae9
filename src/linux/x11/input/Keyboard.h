#pragma once

#include "platform/HotKeyService.h"

#include <xcb/xcb.h>

#include <cstdint>
#include <vector>

namespace kasto::x11 {

// The keys and modifiers by which a chord is grabbed.
struct ChordKeys {
    std::vector<xcb_keycode_t> keys;  // none when the chord cannot be typed
    std::uint16_t modifiers = 0;      // the modifier bits that must be set
    std::uint16_t locks = 0;          // the bits of lock keys; they may be set or not
    bool operator==(const ChordKeys&) const = default;
};

// The bits that modifier keys set in the state of events. 0 for a modifier that no key sets.
struct ModifierBits {
    std::uint16_t command = 0;  // Super
    std::uint16_t option = 0;   // Alt
    std::uint16_t control = 0;
    // Fn or AltGr; Super as well where a layout has neither. Any one of these bits means fn.
    std::uint16_t fn = 0;
    std::uint16_t locks = 0;  // Caps Lock, Num Lock, Scroll Lock
    bool operator==(const ModifierBits&) const = default;
};

// Reads the mapping of an X server's keyboard over XKB. Each operation makes some round trips. The connection
// outlives the reader; its owner's thread only.
//
// A server sends no MappingNotify to a connection that uses XKB. Such a connection gets XKB's own events for
// it, which the reader selects and recognises; it does not matter whether the owner selects them too.
class KeyboardReader {
public:
    enum class Watch { mapping, mappingAndGroup };

    KeyboardReader(xcb_connection_t* connection, Watch watch);

    // True if the event tells that the mapping has changed, or the layout group where that is watched.
    // What was read before may be wrong then.
    bool isChange(const xcb_generic_event_t& event) const;

    // The keys that type the chord's letter in the active layout group. If there is none, the keys of another
    // group that type it; and if no group has the letter, the key at its place on an ANSI keyboard, so that
    // the chord also works on a layout of another script.
    ChordKeys chordKeys(const KeyChord& chord) const;

    ModifierBits modifierBits() const;

private:
    xcb_connection_t* connection_;
    std::uint8_t xkbEvent_ = 0;  // the type of all XKB events; 0 without XKB
};

// Every combination of some bits, the empty one included.
std::vector<std::uint16_t> subsetsOf(std::uint16_t bits);

}  // namespace kasto::x11
