#pragma once

#include "base/Result.h"
#include "linux/ffmpeg/FfmpegHandles.h"
#include "platform/MovieWriter.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <span>

struct SwrContext;
struct AVAudioFifo;

namespace kasto::ffmpeg {

// Takes an AAC packet, which lasts for `AacEncoder::kPacketFrames`; valid during the call only.
using PacketSink = std::function<void(std::span<const std::uint8_t> packet)>;

// Turns interleaved sound at 48 kHz into AAC-LC, and stretches it a little on the way. One thread at a time.
class AacEncoder {
public:
    static constexpr int kPacketFrames = 1024;

    static Result<AacEncoder> open(const AudioInputSettings& settings);

    // What a movie's sample description says of the stream.
    std::span<const std::uint8_t> specificConfiguration() const;
    // Frames at the stream's beginning that are not of the sound.
    int primingFrames() const;

    // Encodes sound, or as many frames of silence when there is none; the rest of a packet waits for more.
    // `stretch` is the part of its length it becomes longer by. Returns how many frames the stream is longer.
    Result<std::int64_t> encode(std::span<const float> samples, double stretch, const PacketSink& sink);
    Result<std::int64_t> encodeSilence(std::int64_t frames, const PacketSink& sink);

    // Ends the stream. Nothing can be encoded after this.
    Result<void> finish(const PacketSink& sink);

private:
    struct FreeResampler {
        void operator()(SwrContext* resampler) const;
    };
    struct FreeFifo {
        void operator()(AVAudioFifo* fifo) const;
    };

    AacEncoder() = default;
    Result<void> encodeWhole(const PacketSink& sink);
    Result<void> send(int frames, const PacketSink& sink);
    Result<void> receive(const PacketSink& sink);

    CodecContextHandle context_;
    std::unique_ptr<SwrContext, FreeResampler> resampler_;
    std::unique_ptr<AVAudioFifo, FreeFifo> waiting_;
    FrameHandle stretched_;
    FrameHandle frame_;
    PacketHandle packet_;
    int channels_ = 0;
    std::int64_t sent_ = 0;
};

}  // namespace kasto::ffmpeg
