#pragma once

#include "base/SerialQueue.h"
#include "model/CaptureModel.h"
#include "platform/PointerInput.h"

#include <functional>
#include <memory>

namespace kasto {

// Watches the mouse while a take runs, 120 times a second: tells the model where the pointer is and which
// button is held, draws a pulse for each press, and turns fn + right click into a wish for the quick menu.
//
// `start` and `stop` belong to the main thread; it may be started again. Model and pointer outlive it.
class InputPoller {
public:
    InputPoller(CaptureModel& model, const PointerInput& pointer);

    // A button that is down already does not count as a press.
    void start();

    // Returns when no poll is under way any more.
    void stop();

    // Called on the poller's queue. Set before the start.
    std::function<void()> onQuickMenu;

private:
    void tick();

    CaptureModel& model_;
    const PointerInput& pointer_;
    std::unique_ptr<PointerFollower> follower_;  // while it runs
    bool leftWas_ = false;
    bool rightWas_ = false;
    SerialQueue queue_{"app.tolvane.kasto.poll", QueuePriority::userInteractive};
    std::unique_ptr<QueueTimer> timer_;
};

}  // namespace kasto
