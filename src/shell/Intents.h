#pragma once

#include "platform/Automation.h"

#include <span>
#include <string_view>

namespace kasto {

class AppDelegate;

// What automations may ask of the program. None has parameters, none brings a window to the front, and none
// fails: a request that does not fit is ignored. Main thread.
struct Intent {
    std::string_view id;  // as the desktop's launcher files name it
    std::string_view title;
    void (*perform)(AppDelegate& controller);
};

extern const Intent StartRecordingIntent;
extern const Intent StopRecordingIntent;
extern const Intent ToggleRecordingIntent;

// The intent of this identifier; null if there is none.
const Intent* findIntent(std::string_view id);

// Runs the intent of this identifier, if there is one.
void performIntent(std::string_view id, AppDelegate& controller);

// The intents that are offered under phrases of their own; the toggle is for automations alone.
struct KastoShortcuts {
    static std::vector<Shortcut> shortcuts(std::string_view applicationName);
};

}  // namespace kasto
