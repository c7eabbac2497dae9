#pragma once

#include "platform/HotKeyService.h"

#include <xcb/xcb.h>

#include <cstdint>
#include <vector>

namespace kasto::x11 {

// Which keys of the keyboard, as it is mapped now, make up a chord.
struct ChordKeys {
    std::vector<xcb_keycode_t> keys;
    std::uint16_t modifiers = 0;            // the modifier bits that must be set
    std::uint16_t locks = 0;                // the bits of lock keys, which may be set or not
    std::vector<std::uint16_t> lockStates;  // every combination of them, none included
};

// Asks the server. No keys when the chord cannot be typed. A letter that no layout has at all is looked for
// at its place on an ANSI keyboard, so that a chord works on layouts of other scripts.
ChordKeys chordKeys(xcb_connection_t* connection, const KeyChord& chord);

// The bits of the modifiers as the server maps them now; none for a modifier that no key sets. Fn is the Fn
// key where one is mapped, else AltGr.
struct ModifierBits {
    std::uint16_t command = 0;
    std::uint16_t option = 0;
    std::uint16_t control = 0;
    std::uint16_t fn = 0;
    bool operator==(const ModifierBits&) const = default;
};

// Asks the server.
ModifierBits readModifierBits(xcb_connection_t* connection);

}  // namespace kasto::x11
