#pragma once

#include "linux/pipewire/PipeWireConnection.h"
#include "linux/pipewire/camera/PipeWireCameras.h"
#include "platform/CameraPortal.h"

#include <memory>

namespace kasto::pipewire {

// The cameras of the user's session, through the camera portal where the program cannot see them itself.
//
// There are two ways to a camera: the program's own connection to the media server ("direct"), and a second
// connection that the camera portal opens ("remote"). The portal may show the user a question, so it is asked
// only if nothing else helps. requestAccess() decides in this order; every step may take a while, and each is
// skipped if these cameras have been destroyed meanwhile:
//
//   1. Wait until the nodes of the direct server are known. It shows a camera: granted, nobody is asked. This
//      is the case on an ordinary desktop.
//   2. Ask the portal whether there may be a camera. There is none, or no portal: granted, for there is
//   nothing
//      to ask for, and a camera that is plugged in later may appear on the direct connection.
//   3. Ask the portal for access, which may show its question. Refused: denied. Forbidden by the desktop:
//      restricted. The portal failed or gave up: granted, but nothing is lent; it can be asked again.
//   4. Access was given: wait until the remote server shows its cameras. Granted.
//
// "Granted" therefore means that devices() may be tried, not that there is one. From step 4 on the lent
// cameras are used whenever the direct connection shows none. If the remote server ends, the portal is asked
// for another connection every second; that needs no further question to the user.
class PortalCameras final : public CameraSession {
public:
    // Both must outlive the cameras. Constructed and destroyed on the main thread.
    PortalCameras(PipeWireConnection& direct, CameraPortal& portal);
    ~PortalCameras() override;

    CameraAccess access() const override;
    void requestAccess(std::function<void(bool granted)> answer) override;

    std::vector<CameraDevice> devices() const override;
    std::optional<CameraDevice> defaultDevice() const override;
    Result<std::unique_ptr<CameraRun>> run(const std::string& deviceId, SerialQueue& queue,
                                           FrameHandler onFrame) override;

private:
    class Asking;
    bool isLent() const;

    PipeWireCameras direct_;
    const std::shared_ptr<Asking> asking_;
    PipeWireConnection remote_;  // opened by the portal; not connected until access is granted
    PipeWireCameras lent_{remote_};
};

}  // namespace kasto::pipewire
