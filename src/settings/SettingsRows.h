#pragma once

#include "settings/Row.h"

#include <vector>

namespace kasto {

class SettingsHost;

// The rows of the settings window: one for each option of `kOptions` that has a control, under the headings
// of their sections. Descriptions, enabled buttons and the list of cameras are as options and host are now;
// switches and the name of the chosen camera are read whenever they are drawn. `host` outlives the rows. Main
// thread.
std::vector<Row> settingsRows(SettingsHost& host);

}  // namespace kasto
