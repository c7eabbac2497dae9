#pragma once

#include "platform/Automation.h"

#include <memory>

namespace kasto::freedesktop {

class DBusRunningInstance;

// Automation over the session bus. Actions arrive through org.freedesktop.Application of the running
// instance. The searches of GNOME Shell and KRunner find the shortcuts under a second bus name, which no
// service file activates: a search must not start the program. Needs the application object; main thread.
class DBusAutomation final : public Automation {
public:
    // `instance` must outlive this.
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
