#pragma once

#include "settings/Row.h"

#include <vector>

namespace kasto {

class SettingsHost;

// The rows of the settings in their order, as the preferences and the host are now: texts, enabled buttons
// and the choice of cameras stay as they are, switches and the camera's name are read whenever they are
// drawn. `host` outlives the rows. Main thread.
std::vector<Row> settingsRows(SettingsHost& host);

}  // namespace kasto
