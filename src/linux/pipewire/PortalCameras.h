#pragma once

#include "linux/pipewire/PipeWireCameras.h"
#include "linux/pipewire/PipeWireConnection.h"
#include "platform/CameraPortal.h"

#include <memory>

namespace kasto::pipewire {

// The cameras of the user's session, by way of the camera portal where the program does not see them itself.
//
// The portal may show the user a question, so it is asked only where that has a use: where the server is
// known to show no camera, or cannot be reached, and the portal may have one. So it is in a sandbox, and in a
// session that keeps its cameras to itself. On any other desktop the server shows its cameras, or the portal
// says that there is none, and nobody is asked anything.
class PortalCameras final : public CameraSession {
public:
    // Both outlive the cameras. Made and destroyed on the main thread.
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
    PipeWireConnection remote_;  // opened by the portal; idle until access is granted
    PipeWireCameras lent_{remote_};
};

}  // namespace kasto::pipewire
