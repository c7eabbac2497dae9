#include "linux/ffmpeg/AacEncoder.h"

#include "base/MediaRates.h"
#include "linux/ffmpeg/FfmpegHandles.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

extern "C" {
#include <libavutil/audio_fifo.h>
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

namespace kasto::ffmpeg {

namespace {

constexpr AVSampleFormat kEncodedFormat = AV_SAMPLE_FMT_FLTP;
// libswresample takes the stretch as so many frames more within a distance of so many frames.
constexpr int kStretchDistance = 1 << 20;
// Frames of sound that are stretched in one call, with room for what they gain.
constexpr int kMaxFramesAtOnce = 4096;
constexpr int kStretchedFrames = 2 * kMaxFramesAtOnce;
constexpr int kMaxChannels = 2;

struct FreeResampler {
    void operator()(SwrContext* resampler) const { swr_free(&resampler); }
};
struct FreeFifo {
    void operator()(AVAudioFifo* fifo) const { av_audio_fifo_free(fifo); }
};
using Resampler = std::unique_ptr<SwrContext, FreeResampler>;
using Fifo = std::unique_ptr<AVAudioFifo, FreeFifo>;

Result<CodecContextHandle> openCodec(const AudioInputSettings& settings) {
    silenceLibav();
    const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_AAC);
    if (!codec) return failure("no encoder for AAC is installed");
    CodecContextHandle context(avcodec_alloc_context3(codec));
    if (!context) return std::unexpected(libavError("AAC", AVERROR(ENOMEM)));
    context->sample_fmt = kEncodedFormat;
    context->sample_rate = kSoundRate;
    context->time_base = {1, kSoundRate};
    context->bit_rate = settings.bitRate;
    context->profile = FF_PROFILE_AAC_LOW;
    context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    av_channel_layout_default(&context->ch_layout, settings.channels);
    if (const int opened = avcodec_open2(context.get(), codec, nullptr); opened < 0)
        return std::unexpected(libavError("start the encoder for AAC", opened));
    return context;
}

Result<Resampler> openResampler(const AVChannelLayout& channels) {
    AVChannelLayout layout = channels;
    SwrContext* made = nullptr;
    swr_alloc_set_opts2(&made, &layout, kEncodedFormat, kSoundRate, &layout, AV_SAMPLE_FMT_FLT, kSoundRate, 0,
                        nullptr);
    Resampler resampler(made);
    // Without the flag it would copy at equal rates, and could not begin to stretch later.
    if (!made || av_opt_set_int(made, "flags", SWR_FLAG_RESAMPLE, 0) < 0 || swr_init(made) < 0)
        return failure("the resampler for sound does not start");
    return resampler;
}

FrameHandle makeFrame(const AVCodecContext& context, int frames) {
    FrameHandle frame(av_frame_alloc());
    if (!frame) return nullptr;
    frame->format = kEncodedFormat;
    frame->sample_rate = context.sample_rate;
    frame->nb_samples = frames;
    if (av_channel_layout_copy(&frame->ch_layout, &context.ch_layout) < 0) return nullptr;
    if (frames > 0 && av_frame_get_buffer(frame.get(), 0) < 0) return nullptr;
    return frame;
}

class AacEncoder final : public SoundEncoder {
public:
    AacEncoder(CodecContextHandle context, Resampler resampler, int channels)
        : context_(std::move(context)),
          resampler_(std::move(resampler)),
          waiting_(av_audio_fifo_alloc(kEncodedFormat, channels, 4 * kAacPacketFrames)),
          stretched_(makeFrame(*context_, kStretchedFrames)),
          frame_(makeFrame(*context_, kAacPacketFrames)),
          packet_(av_packet_alloc()),
          channels_(channels) {}

    bool isComplete() const { return waiting_ && stretched_ && frame_ && packet_; }

    std::span<const std::uint8_t> specificConfiguration() const override {
        return {context_->extradata, static_cast<std::size_t>(context_->extradata_size)};
    }

    int primingFrames() const override { return context_->initial_padding; }

    Result<std::int64_t> encode(std::span<const float> samples, double stretch,
                                const PacketSink& sink) override {
        std::int64_t added = 0;
        swr_set_compensation(resampler_.get(), static_cast<int>(std::lround(stretch * kStretchDistance)),
                             kStretchDistance);
        const auto channels = static_cast<std::size_t>(channels_);
        while (!samples.empty()) {
            const auto frames = std::min<std::size_t>(samples.size() / channels, kMaxFramesAtOnce);
            const auto* in = reinterpret_cast<const std::uint8_t*>(samples.data());
            samples = samples.subspan(frames * channels);
            const int out = swr_convert(resampler_.get(), stretched_->data, kStretchedFrames, &in,
                                        static_cast<int>(frames));
            if (out < 0) return std::unexpected(libavError("convert sound", out));
            if (av_audio_fifo_write(waiting_.get(), reinterpret_cast<void**>(stretched_->data), out) < out)
                return std::unexpected(libavError("AAC", AVERROR(ENOMEM)));
            added += out;
            if (const auto encoded = encodeWhole(sink); !encoded) return std::unexpected(encoded.error());
        }
        return added;
    }

    Result<std::int64_t> encodeSilence(std::int64_t frames, const PacketSink& sink) override {
        static constexpr std::array<float, kMaxFramesAtOnce * kMaxChannels> kSilence{};
        std::int64_t added = 0;
        while (frames > 0) {
            const auto part = std::min<std::int64_t>(frames, kMaxFramesAtOnce);
            const auto encoded =
                encode({kSilence.data(), static_cast<std::size_t>(part * channels_)}, 0, sink);
            if (!encoded) return encoded;
            added += *encoded;
            frames -= part;
        }
        return added;
    }

    Result<void> finish(const PacketSink& sink) override {
        if (const int rest = av_audio_fifo_size(waiting_.get()); rest > 0) {
            if (const auto sent = send(rest, sink); !sent) return sent;
        }
        if (const int sent = avcodec_send_frame(context_.get(), nullptr); sent < 0)
            return std::unexpected(libavError("end the sound", sent));
        return receive(sink);
    }

private:
    Result<void> encodeWhole(const PacketSink& sink) {
        while (av_audio_fifo_size(waiting_.get()) >= kAacPacketFrames) {
            if (const auto sent = send(kAacPacketFrames, sink); !sent) return sent;
        }
        return {};
    }

    Result<void> send(int frames, const PacketSink& sink) {
        // The encoder may still hold a reference to the data sent before.
        frame_->nb_samples = kAacPacketFrames;
        if (const int writable = av_frame_make_writable(frame_.get()); writable < 0)
            return std::unexpected(libavError("encode sound", writable));
        av_audio_fifo_read(waiting_.get(), reinterpret_cast<void**>(frame_->data), frames);
        frame_->nb_samples = frames;
        frame_->pts = sentFrames_;
        sentFrames_ += frames;
        if (const int sent = avcodec_send_frame(context_.get(), frame_.get()); sent < 0)
            return std::unexpected(libavError("encode sound", sent));
        return receive(sink);
    }

    Result<void> receive(const PacketSink& sink) {
        while (true) {
            const int received = avcodec_receive_packet(context_.get(), packet_.get());
            if (received == AVERROR(EAGAIN) || received == AVERROR_EOF) return {};
            if (received < 0) return std::unexpected(libavError("encode sound", received));
            sink({packet_->data, static_cast<std::size_t>(packet_->size)});
            av_packet_unref(packet_.get());
        }
    }

    CodecContextHandle context_;
    Resampler resampler_;
    Fifo waiting_;  // stretched sound that does not fill a packet yet
    FrameHandle stretched_;
    FrameHandle frame_;
    PacketHandle packet_;
    const int channels_;
    std::int64_t sentFrames_ = 0;
};

}  // namespace

Result<std::unique_ptr<SoundEncoder>> openAacEncoder(const AudioInputSettings& settings) {
    auto context = openCodec(settings);
    if (!context) return std::unexpected(context.error());
    auto resampler = openResampler((*context)->ch_layout);
    if (!resampler) return std::unexpected(resampler.error());
    auto encoder =
        std::make_unique<AacEncoder>(std::move(*context), std::move(*resampler), settings.channels);
    if (!encoder->isComplete()) return std::unexpected(libavError("AAC", AVERROR(ENOMEM)));
    return encoder;
}

}  // namespace kasto::ffmpeg
