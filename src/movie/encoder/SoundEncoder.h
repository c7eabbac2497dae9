#pragma once

#include "base/Result.h"
#include "platform/MovieWriter.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <span>

namespace kasto {

// Receives an AAC packet, which lasts for kAacPacketFrames frames. The data is valid during the call only.
using PacketSink = std::function<void(std::span<const std::uint8_t> packet)>;

// Turns interleaved sound at kSoundRate into AAC-LC and can stretch it slightly on the way, which lets a
// track follow a device whose clock is off. One thread at a time.
class SoundEncoder {
public:
    virtual ~SoundEncoder() = default;

    // The stream's AudioSpecificConfig, for the movie's sample description. Valid as long as the encoder.
    virtual std::span<const std::uint8_t> specificConfiguration() const = 0;

    // Frames that the encoder puts before the sound; a player leaves them out.
    virtual int primingFrames() const = 0;

    // Encodes samples of all channels, interleaved. What does not fill a packet waits for more. `stretch` is
    // the part of its own length by which the sound becomes longer, or shorter if negative. Returns by how
    // many frames the stream has grown.
    virtual Result<std::int64_t> encode(std::span<const float> samples, double stretch,
                                        const PacketSink& sink) = 0;

    // The same with so many frames of silence.
    virtual Result<std::int64_t> encodeSilence(std::int64_t frames, const PacketSink& sink) = 0;

    // Ends the stream. Nothing can be encoded after this.
    virtual Result<void> finish(const PacketSink& sink) = 0;
};

// Opens an encoder for a sound track. Blocks. Any thread.
using SoundEncoderMaker = std::function<Result<std::unique_ptr<SoundEncoder>>(const AudioInputSettings&)>;

}  // namespace kasto
