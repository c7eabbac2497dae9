#pragma once

#include <functional>
#include <string>
#include <vector>

namespace kasto {

// An action offered to people under the phrases they would ask for it with.
struct Shortcut {
    std::string actionId;
    std::string shortTitle;
    std::string symbol;                // "record.circle" or "stop.fill"
    std::vector<std::string> phrases;  // the program's name in them
};

// The desktop's automation: it runs actions of the program by their identifiers, and finds shortcuts by what
// people type or say. Main thread.
class Automation {
public:
    virtual ~Automation() = default;

    // Offers the shortcuts from now on. `perform` runs an action on the main thread, also one without a
    // shortcut; unknown identifiers are to be ignored. Where the desktop has no such service, that is logged
    // and nothing else happens.
    virtual void offer(std::vector<Shortcut> shortcuts,
                       std::function<void(const std::string& actionId)> perform) = 0;

    // Offers nothing any more and runs no action.
    virtual void withdraw() = 0;
};

}  // namespace kasto
