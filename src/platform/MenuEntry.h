#pragma once

#include "platform/HotKeyService.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace kasto {

// One line of a menu. The program's own menus show it, and so do hosts of status items that draw menus
// themselves. All callbacks are called on the main thread.
struct MenuEntry {
    std::string title = {};  // a line without a title that is no check row is a separator
    bool isEnabled = true;
    std::optional<KeyChord> keyEquivalent = {};
    std::function<void()> action = {};
    std::vector<MenuEntry> submenu = {};

    // Set for a check row. Choosing the row flips its mark, leaves the menu open and calls `onToggle` with
    // the new value.
    std::optional<bool> isOn = {};
    std::function<void(bool)> onToggle = {};
    // Set for one of several choices. Choosing it marks the rows of the same `rep` and clears the marks of
    // all others in its menu.
    bool isChoice = false;
    std::optional<std::string> rep = {};

    bool isSeparator() const { return title.empty() && !isOn; }
};

}  // namespace kasto
