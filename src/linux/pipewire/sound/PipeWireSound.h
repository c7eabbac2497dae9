#pragma once

#include "platform/SoundCapture.h"

namespace kasto::pipewire {

class PipeWireConnection;

// System sound and microphone of the PipeWire server of the user's session. System sound is what the default
// sink plays, before its volume and mute are applied. Its times are those at which it is heard. Both follow
// the user's choice of another default device while they run.
class PipeWireSound final : public SoundCapture {
public:
    // The connection must outlive this and its runs.
    explicit PipeWireSound(PipeWireConnection& connection) : connection_(connection) {}

    Result<std::unique_ptr<SoundRun>> start(StreamOutputType type, StreamOutput& output,
                                            SerialQueue& queue) override;

    // True also while there is no microphone or no server, because both may appear during a take.
    bool deliversMicrophone() const override;

private:
    PipeWireConnection& connection_;
};

}  // namespace kasto::pipewire
