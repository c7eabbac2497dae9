#pragma once

#include "platform/RunningInstance.h"

#include <memory>

namespace kasto {

// The running kasto as the owner of a name on the session bus, reached through org.freedesktop.Application
// there. An action activated on that interface counts as the URL of that word. Needs the application object.
class DBusRunningInstance final : public RunningInstance {
public:
    DBusRunningInstance();
    ~DBusRunningInstance() override;

    Result<bool> claim() override;

    // Without URLs, activates the running one.
    Result<void> forward(const std::vector<std::string>& urls) override;

    void setOnOpenUrls(std::function<void(const std::vector<std::string>&)> onOpenUrls) override;

private:
    class Bus;
    std::unique_ptr<Bus> bus_;
};

}  // namespace kasto
