#pragma once

#include "platform/CameraSession.h"

#include <vector>

namespace kasto {

// What the rows of menus and of the settings window need of the program beside the options themselves. An
// option is set through `Prefs`; the program observes it and lets a running take follow. Main thread.
class SettingsHost {
public:
    virtual ~SettingsHost() = default;

    virtual bool isRecording() const = 0;

    // In the order they were discovered.
    virtual std::vector<CameraDevice> cameras() = 0;

    // Lets the user pick the region for the next takes and keeps the answer. Returns at once; does nothing
    // while a take runs.
    virtual void beginSetRegion() = 0;

    // The next takes record whole displays again.
    virtual void clearRegion() = 0;

    // Lets the user choose the folder for finished takes and keeps the answer. Returns at once.
    virtual void chooseOutputFolder() = 0;

    // Finished takes stay in the default folder again.
    virtual void clearOutputFolder() = 0;
};

}  // namespace kasto
