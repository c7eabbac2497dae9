#pragma once

#include "platform/Automation.h"

#include <memory>

namespace kasto::freedesktop {

class DBusRunningInstance;

// Automation over the session bus. Actions arrive through org.freedesktop.Application of the running
// instance; the searches of the desktop shells find the shortcuts under a bus name of their own, which no
// search may start the program for. Needs the application object.
class DBusAutomation final : public Automation {
public:
    // `instance` outlives this.
    explicit DBusAutomation(DBusRunningInstance& instance);
    ~DBusAutomation() override;

    void offer(std::vector<Shortcut> shortcuts,
               std::function<void(const std::string& actionId)> perform) override;

    void withdraw() override;

private:
    class Search;
    DBusRunningInstance& instance_;
    std::unique_ptr<Search> search_;
};

}  // namespace kasto::freedesktop
