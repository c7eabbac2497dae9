#include "linux/x11/input/KeyboardMap.h"

#include "linux/x11/server/Connection.h"

#include <algorithm>
#include <span>
#include <string_view>

namespace kasto::x11 {

namespace {

constexpr xcb_keysym_t kAltLeft = 0xffe9;
constexpr xcb_keysym_t kAltRight = 0xffea;
constexpr xcb_keysym_t kSuperLeft = 0xffeb;
constexpr xcb_keysym_t kSuperRight = 0xffec;
constexpr xcb_keysym_t kNumLock = 0xff7f;
constexpr xcb_keysym_t kScrollLock = 0xff14;
constexpr xcb_keysym_t kLevel3Shift = 0xfe03;  // AltGr
constexpr xcb_keysym_t kFn = 0x100811d0;

struct Mapping {
    xcb_keycode_t first = 0;
    std::uint8_t symbolsPerKey = 0;
    std::vector<xcb_keysym_t> symbols;

    std::vector<xcb_keycode_t> keysWith(std::initializer_list<xcb_keysym_t> wanted) const {
        std::vector<xcb_keycode_t> keys;
        for (std::size_t i = 0; symbolsPerKey && i + symbolsPerKey <= symbols.size(); i += symbolsPerKey) {
            const std::span row(symbols.data() + i, symbolsPerKey);
            if (std::ranges::find_first_of(row, wanted) != row.end())
                keys.push_back(static_cast<xcb_keycode_t>(first + i / symbolsPerKey));
        }
        return keys;
    }
};

Mapping readMapping(xcb_connection_t* connection) {
    const auto* setup = xcb_get_setup(connection);
    const auto count = static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1);
    const Reply<xcb_get_keyboard_mapping_reply_t> reply(xcb_get_keyboard_mapping_reply(
        connection, xcb_get_keyboard_mapping(connection, setup->min_keycode, count), nullptr));
    if (!reply) return {};
    const auto* symbols = xcb_get_keyboard_mapping_keysyms(reply.get());
    return {setup->min_keycode,
            reply->keysyms_per_keycode,
            {symbols, symbols + xcb_get_keyboard_mapping_keysyms_length(reply.get())}};
}

// Which modifier bits a key with one of some symbols sets.
class ModifierMap {
public:
    explicit ModifierMap(xcb_connection_t* connection)
        : keys_(readMapping(connection)),
          modifiers_(
              xcb_get_modifier_mapping_reply(connection, xcb_get_modifier_mapping(connection), nullptr)) {}

    const Mapping& keys() const { return keys_; }

    std::uint16_t bits(std::initializer_list<xcb_keysym_t> symbols) const {
        if (!modifiers_) return 0;
        const auto keys = keys_.keysWith(symbols);
        const auto* mapped = xcb_get_modifier_mapping_keycodes(modifiers_.get());
        const int perModifier = modifiers_->keycodes_per_modifier;
        unsigned found = 0;
        for (int i = 0; i < 8 * perModifier; ++i)
            if (mapped[i] != 0 && std::ranges::find(keys, mapped[i]) != keys.end())
                found |= 1U << (i / perModifier);
        return static_cast<std::uint16_t>(found);
    }

    // The lowest of them; 0 if there is none.
    std::uint16_t bit(std::initializer_list<xcb_keysym_t> symbols) const {
        const unsigned all = bits(symbols);
        return static_cast<std::uint16_t>(all & (~all + 1));
    }

private:
    Mapping keys_;
    Reply<xcb_get_modifier_mapping_reply_t> modifiers_;
};

xcb_keycode_t ansiPlace(char32_t letter) {
    constexpr std::u32string_view kUpper = U"qwertyuiop";
    constexpr std::u32string_view kHome = U"asdfghjkl";
    constexpr std::u32string_view kLower = U"zxcvbnm";
    constexpr xcb_keycode_t kFirstOfRow[] = {24, 38, 52};
    int row = 0;
    for (const auto letters : {kUpper, kHome, kLower}) {
        if (const auto at = letters.find(letter); at != letters.npos)
            return static_cast<xcb_keycode_t>(kFirstOfRow[row] + at);
        ++row;
    }
    return 0;
}

std::vector<std::uint16_t> combinations(std::uint16_t bits) {
    std::vector<std::uint16_t> all;
    for (std::uint16_t subset = bits;; subset = static_cast<std::uint16_t>((subset - 1) & bits)) {
        all.push_back(subset);
        if (subset == 0) return all;
    }
}

}  // namespace

ChordKeys chordKeys(xcb_connection_t* connection, const KeyChord& chord) {
    const ModifierMap map(connection);
    const std::uint16_t alt = map.bit({kAltLeft, kAltRight});
    const std::uint16_t super = map.bit({kSuperLeft, kSuperRight});
    if ((chord.option && !alt) || (chord.command && !super)) return {};

    ChordKeys found;
    // Latin-1 letters are their own symbols; both cases count, whatever the map lists first.
    const auto lower = static_cast<xcb_keysym_t>(chord.key);
    found.keys = map.keys().keysWith({lower, lower - (U'a' - U'A')});
    if (found.keys.empty())
        if (const auto place = ansiPlace(chord.key)) found.keys.push_back(place);
    if (chord.control) found.modifiers |= XCB_MOD_MASK_CONTROL;
    if (chord.shift) found.modifiers |= XCB_MOD_MASK_SHIFT;
    if (chord.option) found.modifiers |= alt;
    if (chord.command) found.modifiers |= super;
    found.locks = static_cast<std::uint16_t>(
        (XCB_MOD_MASK_LOCK | map.bit({kNumLock}) | map.bit({kScrollLock})) & ~found.modifiers);
    found.lockStates = combinations(found.locks);
    return found;
}

ModifierBits readModifierBits(xcb_connection_t* connection) {
    const ModifierMap map(connection);
    ModifierBits found{.command = map.bit({kSuperLeft, kSuperRight}),
                       .option = map.bit({kAltLeft, kAltRight}),
                       .control = XCB_MOD_MASK_CONTROL};
    // One key can be Alt in one layout group and AltGr in another.
    const unsigned taken =
        found.command | found.option | found.control | XCB_MOD_MASK_SHIFT | XCB_MOD_MASK_LOCK;
    const auto free = [&](unsigned bits) { return static_cast<std::uint16_t>(bits & ~taken); };
    found.fn = free(map.bits({kFn}));
    if (found.fn == 0) found.fn = free(map.bits({kLevel3Shift}));
    return found;
}

}  // namespace kasto::x11
