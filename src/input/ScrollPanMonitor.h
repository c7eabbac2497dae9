#pragma once

#include "model/CaptureModel.h"
#include "platform/PointerInput.h"

#include <memory>

namespace kasto {

// Moves the recorded view by scrolling while a take runs, wherever the pointer is. Option and scrolling pan;
// control, option and the wheel zoom, in when it turns up. The program under the pointer gets the scrolling
// too.
//
// `start` and `stop` are called on the main thread and may be repeated. The model and the pointer outlive it.
class ScrollPanMonitor {
public:
    ScrollPanMonitor(CaptureModel& model, const PointerInput& pointer);

    void start();

    // Returns when no scroll is being applied any more.
    void stop();

private:
    CaptureModel& model_;
    const PointerInput& pointer_;
    std::unique_ptr<ScrollMonitor> monitor_;
};

}  // namespace kasto
