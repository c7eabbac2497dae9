#pragma once

#include "platform/HotKeyService.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace kasto {

// One line of a menu, for whoever shows it: the program's own menus and hosts of status items that draw menus
// themselves. All callbacks are called on the main thread.
struct MenuEntry {
    std::string title = {};  // none, and no check row: a separator
    bool isEnabled = true;
    std::optional<KeyChord> keyEquivalent = {};
    std::function<void()> action = {};
    std::vector<MenuEntry> submenu = {};

    // A check row: choosing it flips its mark in place and tells the new value.
    std::optional<bool> isOn = {};
    std::function<void(bool)> onToggle = {};
    // One of several choices: choosing it marks the row with its `rep` and no other of its menu.
    bool isChoice = false;
    std::optional<std::string> rep = {};

    bool isSeparator() const { return title.empty() && !isOn; }
};

}  // namespace kasto
