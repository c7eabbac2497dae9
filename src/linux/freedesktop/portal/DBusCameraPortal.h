#pragma once

#include "platform/CameraPortal.h"

#include <memory>

namespace kasto::freedesktop {

// org.freedesktop.portal.Camera on the session bus. Made and destroyed on the main thread; needs the
// application object.
//
// Some portals do not notice a camera that was plugged in after they were started. In a sandbox, where the
// portal is the only way to a camera, askForPresence() therefore always says that there may be one. Elsewhere
// it says what the portal says.
class DBusCameraPortal final : public CameraPortal {
public:
    DBusCameraPortal();
    ~DBusCameraPortal() override;

    void askForPresence(std::function<void(bool mayBePresent)> answer) override;
    void requestAccess(std::function<void(Answer)> answer) override;
    void openRemote(std::function<void(Result<FileDescriptor>)> answer) override;

private:
    class Bus;
    const std::unique_ptr<Bus> bus_;
};

}  // namespace kasto::freedesktop
