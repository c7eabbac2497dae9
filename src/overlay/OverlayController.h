#pragma once

#include "imaging/PixelBuffer.h"
#include "overlay/OverlayView.h"
#include "platform/Displays.h"

#include <QObject>
#include <QTimer>
#include <chrono>
#include <functional>
#include <memory>
#include <string>

class QScreen;

namespace kasto {

class CaptureModel;
class OverlayPanel;
class OverlaySupport;
class OwnWindows;

// Shows on the recorded display what the file will contain, while a take runs: the outline of the frame, the
// pulses, the webcam tile and a heads-up display. Main thread only.
class OverlayController final : public QObject {
public:
    // All of them outlive the controller. Nothing is shown before `start`.
    OverlayController(const CaptureModel& model, const Displays& displays, OwnWindows& ownWindows,
                      OverlaySupport& support);
    ~OverlayController() override;

    // Shows the overlay on this display, or on the main one when it is not there; with no display at all the
    // overlay stays away. Elapsed time counts from `startDate`. Restarts an overlay that is up.
    void start(DisplayId displayID, std::chrono::system_clock::time_point startDate);

    void stop();

    // Shows the newest snapshot; the timer calls it 60 times a second.
    void tick();

    // Where the newest camera picture comes from (bgra or bgrx, top row first; none while there is no
    // picture); an empty function shows no tile. Stays set over `stop`.
    void setCameraLayer(std::function<PixelBufferRef()> latestFrame);

    // What the heads-up display ends with. Stays set over `stop`.
    std::string audioSuffix;

private:
    void followScreens(QScreen& screen);

    const CaptureModel& model_;
    const Displays& displays_;
    OwnWindows& ownWindows_;
    OverlaySupport& support_;
    OverlayView view_;
    std::unique_ptr<OverlayPanel> panel_;
    QTimer timer_;
    int ticks_ = 0;
    std::chrono::system_clock::time_point startDate_ = std::chrono::system_clock::now();
    Point displayOriginPts_;  // of the display under the overlay, in global points
};

}  // namespace kasto
