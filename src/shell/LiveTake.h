#pragma once

#include "camera/WebcamTile.h"
#include "options/OptionTable.h"
#include "overlay/OverlayController.h"
#include "platform/Desktop.h"

#include <chrono>

namespace kasto {

class CaptureModel;

// What the options turn on and off while a take runs: the overlay on the screen, the webcam and its tile.
// Main thread.
class LiveTake {
public:
    // All of them outlive it.
    LiveTake(CaptureModel& model, WebcamTile& tile, const Desktop& desktop);

    // A take of this display has begun: shows and runs what the options say.
    void begin(DisplayId display, std::chrono::system_clock::time_point startDate);

    // Turns everything off.
    void end();

    // Follows an option that has changed while a take runs.
    void follow(OptionId option);

    // Runs the camera, and shows its tile, as the options say now.
    void applyPipState();

private:
    void setOverlayShown(bool isShown);

    WebcamTile& tile_;
    OverlayController overlay_;
    DisplayId display_ = 0;
    std::chrono::system_clock::time_point startDate_;
};

}  // namespace kasto
