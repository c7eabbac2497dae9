#pragma once

#include "platform/CameraSession.h"

#include <optional>
#include <string>
#include <vector>

namespace kasto {

// What menus and settings may do to the program: options that also act on a take that runs, and commands.
// Options without such an effect are written to the preferences directly. Main thread.
class SettingsHost {
public:
    virtual ~SettingsHost() = default;

    virtual bool isRecording() const = 0;

    // In the order they were discovered.
    virtual std::vector<CameraDevice> cameras() = 0;

    // Each stores its option and lets a running take follow.
    virtual void setShowMarquee(bool on) = 0;
    virtual void setPipEnabled(bool on) = 0;
    virtual void setRoundCamera(bool on) = 0;
    virtual void chooseCamera(const std::optional<std::string>& id) = 0;  // none = the default camera

    // Lets the user pick the region for the next takes and keeps the answer. Returns at once; does nothing
    // while a take runs.
    virtual void beginSetRegion() = 0;

    // The next takes record whole displays again.
    virtual void clearRegion() = 0;

    // Lets the user choose the folder for finished takes, and keeps the answer. Returns at once.
    virtual void chooseOutputFolder() = 0;

    // Finished takes stay in the default folder again.
    virtual void clearOutputFolder() = 0;
};

}  // namespace kasto
