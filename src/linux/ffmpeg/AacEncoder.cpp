#include "linux/ffmpeg/AacEncoder.h"

#include "base/MediaRates.h"
#include "movie/sound/SoundTimeline.h"

#include <algorithm>
#include <cmath>
#include <vector>

extern "C" {
#include <libavutil/audio_fifo.h>
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

namespace kasto::ffmpeg {

namespace {

constexpr AVSampleFormat kEncoded = AV_SAMPLE_FMT_FLTP;
// Stretching is told as frames more in so many.
constexpr int kStretchedFrames = 1 << 20;
constexpr int kMostSilenceAtOnce = 8192;

Result<CodecContextHandle> openCodec(const AudioInputSettings& settings) {
    const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_AAC);
    if (!codec) return failure("no encoder for AAC is installed");
    CodecContextHandle context(avcodec_alloc_context3(codec));
    if (!context) return std::unexpected(libavError("AAC", AVERROR(ENOMEM)));
    context->sample_fmt = kEncoded;
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

FrameHandle makeFrame(const AVCodecContext& context, int frames) {
    FrameHandle frame(av_frame_alloc());
    if (!frame) return nullptr;
    frame->format = kEncoded;
    frame->sample_rate = context.sample_rate;
    frame->nb_samples = frames;
    if (av_channel_layout_copy(&frame->ch_layout, &context.ch_layout) < 0) return nullptr;
    if (frames > 0 && av_frame_get_buffer(frame.get(), 0) < 0) return nullptr;
    return frame;
}

}  // namespace

void AacEncoder::FreeResampler::operator()(SwrContext* resampler) const { swr_free(&resampler); }

void AacEncoder::FreeFifo::operator()(AVAudioFifo* fifo) const { av_audio_fifo_free(fifo); }

Result<AacEncoder> AacEncoder::open(const AudioInputSettings& settings) {
    auto context = openCodec(settings);
    if (!context) return std::unexpected(context.error());
    AacEncoder made;
    made.context_ = std::move(*context);
    made.channels_ = settings.channels;
    AVChannelLayout layout = made.context_->ch_layout;
    SwrContext* resampler = nullptr;
    swr_alloc_set_opts2(&resampler, &layout, kEncoded, kSoundRate, &layout, AV_SAMPLE_FMT_FLT, kSoundRate, 0,
                        nullptr);
    made.resampler_.reset(resampler);
    // At equal rates it would copy, and could not begin to stretch later.
    if (!resampler || av_opt_set_int(resampler, "flags", SWR_FLAG_RESAMPLE, 0) < 0 || swr_init(resampler) < 0)
        return failure("the resampler for sound does not start");
    made.waiting_.reset(av_audio_fifo_alloc(kEncoded, settings.channels, 4 * kPacketFrames));
    made.stretched_ = makeFrame(*made.context_, kMostSilenceAtOnce);
    made.frame_ = makeFrame(*made.context_, kPacketFrames);
    made.packet_.reset(av_packet_alloc());
    if (!made.waiting_ || !made.stretched_ || !made.frame_ || !made.packet_)
        return std::unexpected(libavError("AAC", AVERROR(ENOMEM)));
    return made;
}

std::span<const std::uint8_t> AacEncoder::specificConfiguration() const {
    return {context_->extradata, static_cast<std::size_t>(context_->extradata_size)};
}

int AacEncoder::primingFrames() const { return context_->initial_padding; }

Result<std::int64_t> AacEncoder::encode(std::span<const float> samples, double stretch,
                                        const PacketSink& sink) {
    std::int64_t added = 0;
    swr_set_compensation(resampler_.get(), static_cast<int>(std::lround(stretch * kStretchedFrames)),
                         kStretchedFrames);
    const auto channels = static_cast<std::size_t>(channels_);
    while (!samples.empty()) {
        // Less than what the frame takes, which may become longer.
        const auto frames = std::min<std::size_t>(samples.size() / channels, kMostSilenceAtOnce / 2);
        const auto* in = reinterpret_cast<const std::uint8_t*>(samples.data());
        samples = samples.subspan(frames * channels);
        const int out = swr_convert(resampler_.get(), stretched_->data, kMostSilenceAtOnce, &in,
                                    static_cast<int>(frames));
        if (out < 0) return std::unexpected(libavError("convert sound", out));
        if (av_audio_fifo_write(waiting_.get(), reinterpret_cast<void**>(stretched_->data), out) < out)
            return std::unexpected(libavError("AAC", AVERROR(ENOMEM)));
        added += out;
        if (const auto encoded = encodeWhole(sink); !encoded) return std::unexpected(encoded.error());
    }
    return added;
}

Result<std::int64_t> AacEncoder::encodeSilence(std::int64_t frames, const PacketSink& sink) {
    static const std::vector<float> zeros(kMostSilenceAtOnce);
    std::int64_t added = 0;
    while (frames > 0) {
        const auto part = std::min<std::int64_t>(frames, kMostSilenceAtOnce / channels_);
        const auto encoded = encode({zeros.data(), static_cast<std::size_t>(part * channels_)}, 0, sink);
        if (!encoded) return encoded;
        added += *encoded;
        frames -= part;
    }
    return added;
}

Result<void> AacEncoder::finish(const PacketSink& sink) {
    if (const int rest = av_audio_fifo_size(waiting_.get()); rest > 0) {
        if (const auto sent = send(rest, sink); !sent) return sent;
    }
    if (const int sent = avcodec_send_frame(context_.get(), nullptr); sent < 0)
        return std::unexpected(libavError("end the sound", sent));
    return receive(sink);
}

Result<void> AacEncoder::encodeWhole(const PacketSink& sink) {
    while (av_audio_fifo_size(waiting_.get()) >= kPacketFrames) {
        if (const auto sent = send(kPacketFrames, sink); !sent) return sent;
    }
    return {};
}

Result<void> AacEncoder::send(int frames, const PacketSink& sink) {
    // The encoder may still hold the frame before.
    frame_->nb_samples = kPacketFrames;
    if (const int writable = av_frame_make_writable(frame_.get()); writable < 0)
        return std::unexpected(libavError("encode sound", writable));
    av_audio_fifo_read(waiting_.get(), reinterpret_cast<void**>(frame_->data), frames);
    frame_->nb_samples = frames;
    frame_->pts = sent_;
    sent_ += frames;
    if (const int sent = avcodec_send_frame(context_.get(), frame_.get()); sent < 0)
        return std::unexpected(libavError("encode sound", sent));
    return receive(sink);
}

Result<void> AacEncoder::receive(const PacketSink& sink) {
    while (true) {
        const int received = avcodec_receive_packet(context_.get(), packet_.get());
        if (received == AVERROR(EAGAIN) || received == AVERROR_EOF) return {};
        if (received < 0) return std::unexpected(libavError("encode sound", received));
        sink({packet_->data, static_cast<std::size_t>(packet_->size)});
        av_packet_unref(packet_.get());
    }
}

}  // namespace kasto::ffmpeg
