#include "linux/x11/input/Keyboard.h"

#include "linux/x11/input/Xkb.h"
#include "linux/x11/server/Connection.h"

#include <xkbcommon/xkbcommon-keysyms.h>
#include <xkbcommon/xkbcommon-x11.h>
#include <xkbcommon/xkbcommon.h>

#include <algorithm>
#include <array>
#include <initializer_list>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace kasto::x11 {

namespace {

using Symbols = std::initializer_list<xkb_keysym_t>;

constexpr Symbols kAlt{XKB_KEY_Alt_L, XKB_KEY_Alt_R};
constexpr Symbols kSuper{XKB_KEY_Super_L, XKB_KEY_Super_R};
constexpr Symbols kFn{XKB_KEY_XF86Fn};
constexpr Symbols kAltGr{XKB_KEY_ISO_Level3_Shift};

struct Free {
    void operator()(xkb_context* context) const { xkb_context_unref(context); }
    void operator()(xkb_keymap* keymap) const { xkb_keymap_unref(keymap); }
    void operator()(xkb_state* state) const { xkb_state_unref(state); }
};

// The keyboard's mapping at one moment.
class Mapping {
public:
    // Without a mapping there are no keys.
    explicit Mapping(xcb_connection_t* connection)
        : modifiers_(
              xcb_get_modifier_mapping_reply(connection, xcb_get_modifier_mapping(connection), nullptr)) {
        const std::unique_ptr<xkb_context, Free> context(xkb_context_new(XKB_CONTEXT_NO_DEFAULT_INCLUDES));
        const auto device = xkb_x11_get_core_keyboard_device_id(connection);
        if (!context || device < 0) return;
        keymap_.reset(
            xkb_x11_keymap_new_from_device(context.get(), connection, device, XKB_KEYMAP_COMPILE_NO_FLAGS));
        if (keymap_) state_.reset(xkb_x11_state_new_from_device(keymap_.get(), connection, device));
    }

    xkb_layout_index_t groupCount() const { return keymap_ ? xkb_keymap_num_layouts(keymap_.get()) : 0; }

    xkb_layout_index_t activeGroup() const {
        return state_ ? xkb_state_serialize_layout(state_.get(), XKB_STATE_LAYOUT_EFFECTIVE) : 0;
    }

    // The keys that type one of the symbols in a layout group, with or without shift.
    std::vector<xcb_keycode_t> keysWith(Symbols symbols, xkb_layout_index_t group) const {
        return keysWhere([&](xkb_keycode_t key) { return types(key, symbols, group); });
    }

    // The key of this name in XKB, which stands for its place on the keyboard.
    std::optional<xcb_keycode_t> keyAt(const std::string& name) const {
        const auto key = keymap_ ? xkb_keymap_key_by_name(keymap_.get(), name.c_str()) : XKB_KEYCODE_INVALID;
        if (key == XKB_KEYCODE_INVALID) return std::nullopt;
        return static_cast<xcb_keycode_t>(key);
    }

    // All modifier bits that keys with one of the symbols set, in whatever layout group.
    std::uint16_t bits(Symbols symbols) const {
        const auto keys = keysWhere([&](xkb_keycode_t key) {
            for (xkb_layout_index_t group = 0; group < groupCount(); ++group)
                if (types(key, symbols, group)) return true;
            return false;
        });
        if (!modifiers_) return 0;
        const auto* mapped = xcb_get_modifier_mapping_keycodes(modifiers_.get());
        const int perModifier = modifiers_->keycodes_per_modifier;
        unsigned found = 0;
        for (int i = 0; i < 8 * perModifier; ++i)
            if (mapped[i] != 0 && std::ranges::find(keys, mapped[i]) != keys.end())
                found |= 1U << (i / perModifier);
        return static_cast<std::uint16_t>(found);
    }

    // The lowest of these bits; 0 if there is none.
    std::uint16_t bit(Symbols symbols) const {
        const unsigned all = bits(symbols);
        return static_cast<std::uint16_t>(all & (~all + 1));
    }

    std::uint16_t locks() const {
        return static_cast<std::uint16_t>(XCB_MOD_MASK_LOCK | bit({XKB_KEY_Num_Lock}) |
                                          bit({XKB_KEY_Scroll_Lock}));
    }

    // True if in each layout group there is a key for one of the symbols. The key LVL3 does not count: every
    // mapping has it, but no keyboard does.
    bool isTypedInEachGroup(Symbols symbols) const {
        const auto pseudoKey = keyAt("LVL3");
        for (xkb_layout_index_t group = 0; group < groupCount(); ++group)
            if (std::ranges::all_of(keysWith(symbols, group), [&](auto key) { return key == pseudoKey; }))
                return false;
        return true;
    }

private:
    template <class Condition>
    std::vector<xcb_keycode_t> keysWhere(Condition&& condition) const {
        std::vector<xcb_keycode_t> keys;
        if (!keymap_) return keys;
        const auto last = xkb_keymap_max_keycode(keymap_.get());
        for (auto key = xkb_keymap_min_keycode(keymap_.get()); key <= last; ++key)
            if (condition(key)) keys.push_back(static_cast<xcb_keycode_t>(key));
        return keys;
    }

    bool types(xkb_keycode_t key, Symbols symbols, xkb_layout_index_t group) const {
        constexpr xkb_level_index_t kPlainAndShifted = 2;
        for (xkb_level_index_t level = 0; level < kPlainAndShifted; ++level) {
            const xkb_keysym_t* first = nullptr;
            // A group beyond those the key has is wrapped into them.
            const int count = xkb_keymap_key_get_syms_by_level(keymap_.get(), key, group, level, &first);
            const std::span typed(first, static_cast<std::size_t>(count));
            if (std::ranges::find_first_of(typed, symbols) != typed.end()) return true;
        }
        return false;
    }

    Reply<xcb_get_modifier_mapping_reply_t> modifiers_;
    std::unique_ptr<xkb_keymap, Free> keymap_;
    std::unique_ptr<xkb_state, Free> state_;
};

// XKB's name for a letter's key on an ANSI keyboard: "AD04" is the fourth key of the row above the home row.
std::string ansiKeyName(char32_t letter) {
    constexpr std::array<std::pair<std::u32string_view, const char*>, 3> kRows{
        {{U"qwertyuiop", "AD"}, {U"asdfghjkl", "AC"}, {U"zxcvbnm", "AB"}}};
    for (const auto& [letters, row] : kRows)
        if (const auto at = letters.find(letter); at != letters.npos)
            return row + std::string(at < 9 ? "0" : "") + std::to_string(at + 1);
    return {};
}

std::vector<xcb_keycode_t> keysOf(char32_t letter, const Mapping& mapping) {
    const auto lower = xkb_utf32_to_keysym(letter);
    const Symbols symbols{lower, xkb_keysym_to_upper(lower)};
    const auto active = mapping.activeGroup();
    if (auto keys = mapping.keysWith(symbols, active); !keys.empty()) return keys;
    for (xkb_layout_index_t group = 0; group < mapping.groupCount(); ++group)
        if (auto keys = mapping.keysWith(symbols, group); !keys.empty()) return keys;
    if (const auto key = mapping.keyAt(ansiKeyName(letter))) return {*key};
    return {};
}

}  // namespace

KeyboardReader::KeyboardReader(xcb_connection_t* connection, Watch watch) : connection_(connection) {
    if (!xkb_x11_setup_xkb_extension(connection, XKB_X11_MIN_MAJOR_XKB_VERSION, XKB_X11_MIN_MINOR_XKB_VERSION,
                                     XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS, nullptr, nullptr, &xkbEvent_,
                                     nullptr))
        return;
    constexpr std::uint16_t kMapping = XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY;
    constexpr std::uint16_t kAnyPart = 0xff;
    xcb_xkb_select_events_details_t group{};
    group.affectState = group.stateDetails = XCB_XKB_STATE_PART_GROUP_STATE;
    const std::uint16_t state = watch == Watch::mappingAndGroup ? XCB_XKB_EVENT_TYPE_STATE_NOTIFY : 0;
    xcb_xkb_select_events_aux(connection, XCB_XKB_ID_USE_CORE_KBD, kMapping | state, 0, kMapping, kAnyPart,
                              kAnyPart, &group);
}

bool KeyboardReader::isChange(const xcb_generic_event_t& event) const {
    if (xkbEvent_ == 0 || (event.response_type & 0x7f) != xkbEvent_) return false;
    const auto& state = reinterpret_cast<const xcb_xkb_state_notify_event_t&>(event);
    switch (state.xkbType) {
        case XCB_XKB_NEW_KEYBOARD_NOTIFY:
        case XCB_XKB_MAP_NOTIFY:
            return true;
        case XCB_XKB_STATE_NOTIFY:
            return (state.changed & XCB_XKB_STATE_PART_GROUP_STATE) != 0;
        default:
            return false;
    }
}

ChordKeys KeyboardReader::chordKeys(const KeyChord& chord) const {
    const Mapping mapping(connection_);
    const std::uint16_t alt = mapping.bit(kAlt);
    const std::uint16_t super = mapping.bit(kSuper);
    if ((chord.option && !alt) || (chord.command && !super)) return {};
    ChordKeys found{.keys = keysOf(chord.key, mapping)};
    if (chord.control) found.modifiers |= XCB_MOD_MASK_CONTROL;
    if (chord.shift) found.modifiers |= XCB_MOD_MASK_SHIFT;
    if (chord.option) found.modifiers |= alt;
    if (chord.command) found.modifiers |= super;
    found.locks = static_cast<std::uint16_t>(mapping.locks() & ~found.modifiers);
    return found;
}

ModifierBits KeyboardReader::modifierBits() const {
    const Mapping mapping(connection_);
    ModifierBits found{.command = mapping.bit(kSuper),
                       .option = mapping.bit(kAlt),
                       .control = XCB_MOD_MASK_CONTROL,
                       .fn = 0,
                       .locks = mapping.locks()};
    // A key can be Alt in one layout group and AltGr in another; its bit then means Alt.
    const unsigned taken =
        found.command | found.option | found.control | XCB_MOD_MASK_SHIFT | XCB_MOD_MASK_LOCK;
    const auto free = [&](unsigned bits) { return static_cast<std::uint16_t>(bits & ~taken); };
    found.fn = free(mapping.bits(kFn));
    if (found.fn != 0) return found;
    found.fn = free(mapping.bits(kAltGr));
    if (found.fn == 0 || !mapping.isTypedInEachGroup(kAltGr)) found.fn |= found.command;
    return found;
}

std::vector<std::uint16_t> subsetsOf(std::uint16_t bits) {
    std::vector<std::uint16_t> all;
    for (std::uint16_t subset = bits;; subset = static_cast<std::uint16_t>((subset - 1) & bits)) {
        all.push_back(subset);
        if (subset == 0) return all;
    }
}

}  // namespace kasto::x11
