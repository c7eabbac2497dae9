#pragma once

#include "options/OptionTable.h"
#include "platform/MenuEntry.h"

#include <vector>

namespace kasto {

class SettingsHost;

// Menu entries for the options of `kOptions`, with the values of this moment. `host` outlives the entries.
// Main thread.

// The switches and choices whose row names these menus, in the order of the table.
std::vector<MenuEntry> optionEntries(Menus menus, SettingsHost& host);

// The commands that choose the output folder and the region, or go back to their defaults.
std::vector<MenuEntry> placeEntries(SettingsHost& host);

}  // namespace kasto
