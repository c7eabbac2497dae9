#pragma once

#include "base/Result.h"

#include <functional>
#include <string>
#include <vector>

namespace kasto {

// Makes sure that only one kasto runs in a session, and lets a second start reach the first one. Main thread.
class RunningInstance {
public:
    virtual ~RunningInstance() = default;

    // Claims to be the running instance. True on success, false if another instance runs already. Fails if
    // the session has no service for this; the program then runs without it.
    virtual Result<bool> claim() = 0;

    // Sends URLs to the running instance, and waits until it has received them. Fails if that instance has
    // been released meanwhile; claiming again may succeed then.
    virtual Result<void> forward(const std::vector<std::string>& urls) = 0;

    // Asks the running instance to perform an action, and waits until it has received the request.
    virtual Result<void> forwardAction(const std::string& actionId) = 0;

    // Stops being the running instance, so that the next start runs by itself. It is not claimed again.
    virtual void release() = 0;

    // Sets the function that is called when another start, or the desktop, activates the program without
    // URLs.
    virtual void setOnActivate(std::function<void()> onActivate) = 0;

    // Sets the function that is called with URLs sent to this instance by another start or by the desktop.
    virtual void setOnOpenUrls(std::function<void(const std::vector<std::string>&)> onOpenUrls) = 0;
};

}  // namespace kasto
