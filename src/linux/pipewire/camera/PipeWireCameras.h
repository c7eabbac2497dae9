#pragma once

#include "platform/CameraSession.h"

#include <memory>

namespace kasto::pipewire {

class PipeWireConnection;

// The cameras of a PipeWire server. While a camera that runs is unplugged or delivers nothing, there is no
// frame. It is opened again when it is plugged in again, after a restart of the server, and after it has
// delivered nothing for some seconds.
class PipeWireCameras final : public CameraSession {
public:
    // The connection must outlive the cameras and their runs.
    explicit PipeWireCameras(PipeWireConnection& connection) : connection_(connection) {}

    // A program that can connect to the server may use all cameras the server shows to it.
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
