#pragma once

#include "platform/CameraPortal.h"

#include <memory>

namespace kasto::freedesktop {

// org.freedesktop.portal.Camera on the session bus. Made and destroyed on the main thread; needs the
// application object.
//
// A camera that was plugged in after the portal was started is missed by some portals. In a sandbox, where
// there is no other way to a camera, there may always be one; elsewhere the portal is believed.
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
