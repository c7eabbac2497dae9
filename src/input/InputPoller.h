#pragma once

#include "base/SerialQueue.h"
#include "model/CaptureModel.h"
#include "platform/PointerInput.h"

#include <functional>
#include <memory>

namespace kasto {

// Polls the pointer 120 times a second while a take runs. It tells the model the pointer's place and whether
// a button is held, starts a pulse at each press, and asks for the quick menu on fn + right click.
//
// `start` and `stop` are called on the main thread and may be repeated. The model and the pointer outlive it.
class InputPoller {
public:
    InputPoller(CaptureModel& model, const PointerInput& pointer);

    // A button that is down already makes no pulse until it is pressed again.
    void start();

    // Returns when no poll is running any more.
    void stop();

    // Called on the poller's queue when fn + right click asks for the quick menu. To be set before `start`.
    std::function<void()> onQuickMenu;

private:
    void tick();

    CaptureModel& model_;
    const PointerInput& pointer_;
    std::unique_ptr<PointerFollower> follower_;  // between start and stop
    bool leftWas_ = false;
    bool rightWas_ = false;
    SerialQueue queue_{"app.tolvane.kasto.poll", QueuePriority::userInteractive};
    std::unique_ptr<QueueTimer> timer_;
};

}  // namespace kasto
