#pragma once

#include "platform/StatusItem.h"

namespace kasto::freedesktop {

// Status items over org.kde.StatusNotifierItem where a host of such items runs, else in the tray of the X
// server if it has one. Each item changes over when a host starts or ends. Needs the application object; main
// thread.
class TrayStatusItems final : public StatusItems {
public:
    std::unique_ptr<StatusItem> make(const std::string& id, StatusItemActions actions) override;

private:
    int made_ = 0;
};

}  // namespace kasto::freedesktop
