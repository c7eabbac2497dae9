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

// Shows on the recorded display what the movie will contain, while a take runs: the outline of the view, the
// pulses, the webcam tile and a heads-up display. Main thread only.
class OverlayController final : public QObject {
public:
    // All four outlive the controller. Nothing is shown before `start`.
    OverlayController(const CaptureModel& model, const Displays& displays, OwnWindows& ownWindows,
                      OverlaySupport& support);
    ~OverlayController() override;

    // Shows the overlay on this display, or on the main display if this one is not there. Without any display
    // nothing is shown. The time in the heads-up display counts from `startDate`. An overlay that is shown
    // already is replaced.
    void start(DisplayId displayID, std::chrono::system_clock::time_point startDate);

    void stop();

    // Shows the model's newest snapshot. The timer calls this 60 times a second.
    void tick();

    // Sets the function that returns the webcam's newest picture (bgra or bgrx, top row first), or none while
    // there is none. Without a function the tile is not shown. It is kept over `stop`.
    void setCameraLayer(std::function<PixelBufferRef()> latestFrame);

    // The end of the heads-up display's text. It is kept over `stop`.
    std::string audioSuffix;

private:
    void followScreens(QScreen& screen);
    void scheduleTick();

    const CaptureModel& model_;
    const Displays& displays_;
    OwnWindows& ownWindows_;
    OverlaySupport& support_;
    OverlayView view_;
    std::unique_ptr<OverlayPanel> panel_;
    QTimer timer_;
    double nextTickS_ = 0;  // when the next tick is due, on the media clock
    int ticks_ = 0;
    std::chrono::system_clock::time_point startDate_ = std::chrono::system_clock::now();
    DisplayId displayId_ = 0;
};

}  // namespace kasto
