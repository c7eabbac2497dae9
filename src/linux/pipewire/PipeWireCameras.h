#pragma once

#include "platform/CameraSession.h"

#include <memory>

namespace kasto::pipewire {

class PipeWireConnection;

// The cameras of the PipeWire server of the user's session. A camera that is unplugged while it runs, or
// stops delivering, leaves no frame; plugged in again, it goes on. A server that is started again is found.
class PipeWireCameras final : public CameraSession {
public:
    // The connection outlives the cameras.
    explicit PipeWireCameras(PipeWireConnection& connection) : connection_(connection) {}

    // Whoever reaches the server has the right to its cameras.
    CameraAccess access() const override { return CameraAccess::authorised; }
    void requestAccess(std::function<void(bool granted)> answer) override { answer(true); }

    std::vector<CameraDevice> devices() const override;
    std::optional<CameraDevice> defaultDevice() const override;
    Result<std::unique_ptr<CameraRun>> run(const std::string& deviceId, SerialQueue& queue,
                                           FrameHandler onFrame) override;

private:
    PipeWireConnection& connection_;
};

}  // namespace kasto::pipewire
