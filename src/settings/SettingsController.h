#pragma once

#include <memory>

namespace kasto {

class OwnWindows;
class SettingsHost;
class SettingsPanel;

// Owns the settings window: it is made when it is first shown, then shown and hidden, and kept out of takes
// unless KASTO_CAPTURABLE is in the environment. Its frame is kept in the preference file. Main thread.
class SettingsController {
public:
    // Both outlive the controller.
    SettingsController(SettingsHost& host, OwnWindows& ownWindows);
    ~SettingsController();

    // Builds the rows anew and shows the window in front of all others.
    void show();

    // Hides the window if it is visible, else shows it.
    void toggle();

    // A take has begun or ended: enables the buttons that are for one of both.
    void showPhase();

    // Null before it is first shown.
    SettingsPanel* window() const { return window_.get(); }

private:
    void makeWindow();

    SettingsHost& host_;
    OwnWindows& ownWindows_;
    std::unique_ptr<SettingsPanel> window_;
};

}  // namespace kasto
