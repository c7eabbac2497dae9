#pragma once

#include "input/ThreeFingerInterpreter.h"
#include "model/CaptureModel.h"
#include "platform/Multitouch.h"
#include "platform/PointerInput.h"
#include "platform/ScreenAccess.h"

#include <memory>
#include <mutex>
#include <vector>

namespace kasto {

// Zooms and pans the recorded view by the touchpad while a take runs: three fingers spread, pinch or move, or
// with option two fingers spread or pinch.
//
// Held by a shared pointer, because a contact frame that is under way keeps its receiver. `start` and `stop`
// belong to the main thread and may be repeated; it is stopped before it is let go. Model and desktop
// services outlive it.
class TouchPadZoomPan : public std::enable_shared_from_this<TouchPadZoomPan> {
public:
    TouchPadZoomPan(CaptureModel& model, Multitouch& multitouch, const PointerInput& pointer,
                    const ScreenAccess& screenAccess);

    void start();
    void stop();

    // One contact frame, as `MTContactCallback` has it. Any thread.
    void takeContacts(const void* records, std::int32_t count, double t);

    // One frame's fingers, in parts of the pad with y upwards, and its time in seconds. Any thread.
    void ingestFrame(const std::vector<Point>& points, double t);

private:
    void applyThreeFingers(const ThreeFingerInterpreter::Output& output);
    void applyTwoFingers(double zoomDelta);
    void describe(const void* records, std::int32_t count);

    CaptureModel& model_;
    Multitouch& multitouch_;
    const PointerInput& pointer_;
    const ScreenAccess& screenAccess_;

    std::mutex lock_;  // guards what follows, up to the devices; the model's lock is taken under it
    ThreeFingerInterpreter interp3_{3};
    ThreeFingerInterpreter interp2_{2};
    int debugFrames_ = 0;
    bool loggedEngage_ = false;
    bool loggedZoom_ = false;
    bool loggedPan_ = false;
    bool loggedZoom2_ = false;

    std::unique_ptr<MTDeviceList> deviceList_;
    std::vector<void*> devices_;
    bool loggedMissing_ = false;
};

// Hands a contact frame to the one that listens; 0 always.
extern "C" std::int32_t kastoMTCallback(void* device, const void* contacts, std::int32_t count,
                                        double timestampS, std::int32_t frame);

}  // namespace kasto
