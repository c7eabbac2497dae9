#pragma once

#include "platform/StatusItem.h"

namespace kasto::freedesktop {

// Status items as the desktop has them: over org.kde.StatusNotifierItem where a host of such items runs, else
// in the tray of the X server, else nowhere; each item changes over when hosts come and go. Needs the
// application object.
class TrayStatusItems final : public StatusItems {
public:
    std::unique_ptr<StatusItem> make(const std::string& id, StatusItemActions actions) override;

private:
    int made_ = 0;
};

}  // namespace kasto::freedesktop
