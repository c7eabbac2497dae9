#pragma once

#include "base/Result.h"

#include <functional>
#include <string>
#include <vector>

namespace kasto {

// The one running kasto of a session, and the way for a second start to reach it. Main thread.
class RunningInstance {
public:
    virtual ~RunningInstance() = default;

    // Becomes the running one: true. False if another is running already. An error if the session has no way
    // to tell; the program then runs on its own.
    virtual Result<bool> claim() = 0;

    // Hands URLs to the instance that is running, and waits until it has them.
    virtual Result<void> forward(const std::vector<std::string>& urls) = 0;

    // Has the running instance perform an action of its automations, and waits until it knows of it.
    virtual Result<void> forwardAction(const std::string& actionId) = 0;

    // Called with URLs that another start, or the desktop, hands to this instance.
    virtual void setOnOpenUrls(std::function<void(const std::vector<std::string>&)> onOpenUrls) = 0;
};

}  // namespace kasto
