#pragma once

#include "input/ThreeFingerInterpreter.h"
#include "model/CaptureModel.h"
#include "platform/Multitouch.h"
#include "platform/PointerInput.h"
#include "platform/ScreenAccess.h"

#include <memory>
#include <mutex>
#include <span>
#include <vector>

namespace kasto {

// Zooms and pans the recorded view by touchpad gestures while a take runs: three fingers that spread, pinch
// or move together, or two fingers that spread or pinch while option is held.
//
// `start` and `stop` are called on the main thread and may be repeated; `stop` is called before the object is
// destroyed. The model and the services outlive it. It is held by a shared pointer because kastoMTCallback
// keeps its receiver alive during a frame.
class TouchPadZoomPan : public std::enable_shared_from_this<TouchPadZoomPan> {
public:
    TouchPadZoomPan(CaptureModel& model, Multitouch& multitouch, const PointerInput& pointer,
                    const ScreenAccess& screenAccess);

    void start();

    // Returns when no frame of the touchpads is being taken any more.
    void stop();

    // One contact frame and its time in seconds. Any thread.
    void takeFrame(std::span<const Contact> contacts, double t);

    // The fingers that are on the pad, in parts of its size with y upwards, and the frame's time in seconds.
    // Any thread.
    void ingestFrame(const std::vector<Point>& points, double t);

private:
    void applyThreeFingers(const ThreeFingerInterpreter::Output& output);
    void applyTwoFingers(double zoomDelta);
    void describe(std::span<const Contact> contacts);

    CaptureModel& model_;
    Multitouch& multitouch_;
    const PointerInput& pointer_;
    const ScreenAccess& screenAccess_;

    std::mutex lock_;  // guards the members down to loggedZoom2_; the model's lock is taken while it is held
    ThreeFingerInterpreter interp3_{3};
    ThreeFingerInterpreter interp2_{2};
    int debugFrames_ = 0;
    bool loggedEngage_ = false;
    bool loggedZoom_ = false;
    bool loggedPan_ = false;
    bool loggedZoom2_ = false;

    std::unique_ptr<MultitouchReading> reading_;  // between start and stop
    bool loggedMissing_ = false;
};

}  // namespace kasto
