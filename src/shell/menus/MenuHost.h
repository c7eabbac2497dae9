#pragma once

#include "settings/SettingsHost.h"

namespace kasto {

// What the menus need of the program beside the options: the commands of their entries. Main thread.
class MenuHost : public SettingsHost {
public:
    virtual void toggleRecording() = 0;

    // Shows the settings window, or hides it.
    virtual void showSettings() = 0;

    // Shows the folder where takes land in the file browser.
    virtual void openFolder() = 0;

    // True if the program has the right to record the screen.
    virtual bool mayRecordScreen() const = 0;

    // Opens the desktop's settings where the right to record the screen is granted.
    virtual void openPrivacyPane() = 0;

    // Ends the program; a take that runs is finished first.
    virtual void terminate() = 0;
};

}  // namespace kasto
