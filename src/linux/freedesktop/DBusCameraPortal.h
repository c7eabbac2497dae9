#pragma once

#include "platform/CameraPortal.h"

#include <memory>

namespace kasto {

// org.freedesktop.portal.Camera on the session bus. Made and destroyed on the main thread; needs the
// application object.
class DBusCameraPortal final : public CameraPortal {
public:
    DBusCameraPortal();
    ~DBusCameraPortal() override;

    void askForPresence(std::function<void(bool isPresent)> answer) override;
    void requestAccess(std::function<void(Answer)> answer) override;
    void openRemote(std::function<void(Result<FileDescriptor>)> answer) override;

private:
    class Bus;
    const std::unique_ptr<Bus> bus_;
};

}  // namespace kasto
