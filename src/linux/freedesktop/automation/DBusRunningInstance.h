#pragma once

#include "platform/RunningInstance.h"

#include <memory>

namespace kasto::freedesktop {

// The running kasto is the process that owns the program's name on the session bus. Other processes reach it
// there through org.freedesktop.Application. Needs the application object; main thread.
class DBusRunningInstance final : public RunningInstance {
public:
    DBusRunningInstance();
    ~DBusRunningInstance() override;

    Result<bool> claim() override;

    // Calls Open with the URLs, or Activate without any. Waits for the answer.
    Result<void> forward(const std::vector<std::string>& urls) override;

    Result<void> forwardAction(const std::string& actionId) override;

    void release() override;
    void setOnActivate(std::function<void()> onActivate) override;
    void setOnOpenUrls(std::function<void(const std::vector<std::string>&)> onOpenUrls) override;

    // `onAction` is called with the identifier of each action that is activated on the interface.
    void setOnAction(std::function<void(const std::string& actionId)> onAction);

private:
    class Bus;
    std::unique_ptr<Bus> bus_;
};

}  // namespace kasto::freedesktop
