#pragma once

#include "model/CaptureModel.h"
#include "platform/PointerInput.h"

#include <memory>

namespace kasto {

// Scrolling that moves the recorded view while a take runs, wherever the pointer is: with option alone it
// pans, with control and option a wheel zooms, up being in. The program under the pointer scrolls as well.
//
// `start` and `stop` belong to the main thread; it may be started again. Model and pointer outlive it.
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
