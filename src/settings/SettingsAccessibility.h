#pragma once

#include "settings/SettingsControl.h"

#include <vector>

namespace kasto {

class SettingsView;

// Tells assistive programs (through Qt's accessibility) what the settings window draws: each control of a
// `SettingsView` is a child of the view with a role, a name, a description, a state and an action. Main
// thread.

// Makes all settings views of the process known so; a further call does nothing.
void describeSettingsToAssistivePrograms();

// Reports which control has the focus now.
void tellFocusToAssistivePrograms(SettingsView& view);

// Reports each control whose state or value differs from what it was before.
void tellChangesToAssistivePrograms(SettingsView& view, const std::vector<SettingsControl>& before);

}  // namespace kasto
