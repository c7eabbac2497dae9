#pragma once

#include "input/InputPoller.h"
#include "input/ScrollPanMonitor.h"
#include "input/TouchPadZoomPan.h"
#include "platform/Desktop.h"

#include <functional>
#include <memory>

namespace kasto {

class CaptureModel;
class HotKeyRegistration;

// The input that steers the recorded view while a take runs: mouse, wheel and touchpad, and fn + right click,
// which asks for the quick menu. Main thread.
class TakeInput {
public:
    // The model and the desktop's services outlive it. `onQuickMenu` is called on a queue of its own.
    TakeInput(CaptureModel& model, const Desktop& desktop, std::function<void()> onQuickMenu);

    // Stops first.
    ~TakeInput();

    TakeInput(const TakeInput&) = delete;
    TakeInput& operator=(const TakeInput&) = delete;

    // Starts every input that the desktop has; missing ones, a touchpad for example, are skipped.
    void start();

    // Returns when the model is not changed any more. May be repeated.
    void stop();

private:
    HotKeyService& hotKeys_;
    InputPoller poller_;
    ScrollPanMonitor scrollPan_;
    const std::shared_ptr<TouchPadZoomPan> touchPad_;
    std::unique_ptr<HotKeyRegistration> fnRightClick_;  // while it runs
};

}  // namespace kasto
