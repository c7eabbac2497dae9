#pragma once

#include "platform/RunningInstance.h"

#include <memory>

namespace kasto::freedesktop {

// The running kasto as the owner of a name on the session bus, reached through org.freedesktop.Application
// there. Needs the application object.
class DBusRunningInstance final : public RunningInstance {
public:
    DBusRunningInstance();
    ~DBusRunningInstance() override;

    Result<bool> claim() override;

    // Without URLs, activates the running one.
    Result<void> forward(const std::vector<std::string>& urls) override;

    Result<void> forwardAction(const std::string& actionId) override;

    void setOnOpenUrls(std::function<void(const std::vector<std::string>&)> onOpenUrls) override;

    // Called with the identifier of an action that is activated on the interface, on the main thread.
    void setOnAction(std::function<void(const std::string& actionId)> onAction);

private:
    class Bus;
    std::unique_ptr<Bus> bus_;
};

}  // namespace kasto::freedesktop
