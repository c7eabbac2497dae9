#pragma once

#include <functional>
#include <string>
#include <vector>

namespace kasto {

// An action of the program, with the phrases under which the user may ask for it.
struct Shortcut {
    std::string actionId;
    std::string shortTitle;
    std::string symbol;                // "record.circle" or "stop.fill"
    std::vector<std::string> phrases;  // they contain the program's name
};

// The desktop's automation service: it runs actions of the program by their identifiers, and finds shortcuts
// by what the user types or says. Main thread.
class Automation {
public:
    virtual ~Automation() = default;

    // Offers the shortcuts from now on. `perform` is called on the main thread with the identifier of an
    // action, which may be one without a shortcut; it ignores unknown identifiers. If the desktop has no such
    // service, this is logged.
    virtual void offer(std::vector<Shortcut> shortcuts,
                       std::function<void(const std::string& actionId)> perform) = 0;

    // Stops offering shortcuts and running actions.
    virtual void withdraw() = 0;
};

}  // namespace kasto
