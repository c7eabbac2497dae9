#pragma once

#include "platform/SoundCapture.h"

namespace kasto::pipewire {

class PipeWireConnection;

// System sound and microphone by the PipeWire server of the user's session. System sound is what the default
// sink plays, before its volume and mute, with the times at which the sink says it is heard; the program
// plays nothing itself. Either follows the user's choice of another default while it runs.
class PipeWireSound final : public SoundCapture {
public:
    // The connection must outlive the capture and its runs.
    explicit PipeWireSound(PipeWireConnection& connection) : connection_(connection) {}

    Result<std::unique_ptr<SoundRun>> start(StreamOutputType type, StreamOutput& output,
                                            SerialQueue& queue) override;

    // Also while there is none, or no server: either may come during a take.
    bool deliversMicrophone() const override;

private:
    PipeWireConnection& connection_;
};

}  // namespace kasto::pipewire
