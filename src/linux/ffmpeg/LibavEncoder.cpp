#include "linux/ffmpeg/LibavEncoder.h"

#include "linux/ffmpeg/AnnexB.h"

extern "C" {
#include <libavutil/opt.h>
}

namespace kasto::ffmpeg {

namespace {

// A frame over the buffer's own memory, which stays referenced until the last user of the frame lets go.
FrameHandle frameOver(const PixelBufferRef& picture) {
    FrameHandle frame(av_frame_alloc());
    if (!frame) return nullptr;
    auto owner = std::make_unique<PixelBufferRef>(picture);
    const auto& luma = picture->plane(0);
    frame->buf[0] = av_buffer_create(
        luma.data, static_cast<std::size_t>(luma.strideBytes * luma.height),
        [](void* opaque, std::uint8_t*) { delete static_cast<PixelBufferRef*>(opaque); }, owner.get(),
        AV_BUFFER_FLAG_READONLY);
    if (!frame->buf[0]) return nullptr;
    owner.release();
    for (int i = 0; i < picture->planeCount(); ++i) {
        frame->data[i] = picture->plane(i).data;
        frame->linesize[i] = static_cast<int>(picture->plane(i).strideBytes);
    }
    frame->format = AV_PIX_FMT_YUV420P;
    frame->width = picture->width();
    frame->height = picture->height();
    return frame;
}

}  // namespace

Result<CodecContextHandle> makeEncoderContext(const char* encoderName, const VideoInputSettings& settings) {
    silenceLibav();
    const AVCodec* codec = avcodec_find_encoder_by_name(encoderName);
    if (!codec) return failure(std::string("the encoder ") + encoderName + " is not installed");
    CodecContextHandle context(avcodec_alloc_context3(codec));
    if (!context) return std::unexpected(libavError(encoderName, AVERROR(ENOMEM)));
    context->width = settings.width;
    context->height = settings.height;
    context->pix_fmt = AV_PIX_FMT_YUV420P;
    context->time_base = {1, kMovieTimescale};
    context->framerate = {settings.expectedFrameRate, 1};
    context->sample_aspect_ratio = {1, 1};
    context->bit_rate = settings.averageBitRate;
    context->gop_size = settings.maxKeyFrameInterval;
    context->max_b_frames = 0;
    context->profile = FF_PROFILE_H264_HIGH;
    context->color_primaries = AVCOL_PRI_BT709;
    context->color_trc = AVCOL_TRC_BT709;
    context->colorspace = AVCOL_SPC_BT709;
    context->color_range = AVCOL_RANGE_MPEG;
    // The renderer averages two by two pixels into one of chroma.
    context->chroma_sample_location = AVCHROMA_LOC_CENTER;
    context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    return context;
}

Result<std::unique_ptr<VideoEncoder>> LibavEncoder::open(CodecContextHandle context,
                                                         std::span<const CodecOption> options,
                                                         Upload upload) {
    const std::string name = context->codec->name;
    for (const auto& option : options)
        if (const int set = av_opt_set(context->priv_data, option.name, option.value, 0); set < 0)
            return std::unexpected(libavError(name + " option " + option.name, set));
    if (const int opened = avcodec_open2(context.get(), nullptr, nullptr); opened < 0)
        return std::unexpected(libavError("start the encoder " + name, opened));
    auto configuration =
        avcDecoderConfiguration({context->extradata, static_cast<std::size_t>(context->extradata_size)});
    if (!configuration) return std::unexpected(configuration.error());
    return std::unique_ptr<VideoEncoder>(
        new LibavEncoder(std::move(context), std::move(*configuration), std::move(upload)));
}

LibavEncoder::LibavEncoder(CodecContextHandle context, std::vector<std::uint8_t> configuration, Upload upload)
    : context_(std::move(context)),
      configuration_(std::move(configuration)),
      upload_(std::move(upload)),
      packet_(av_packet_alloc()) {}

Result<void> LibavEncoder::encode(const PictureToEncode& picture, const PictureSink& sink) {
    FrameHandle frame = frameOver(picture.pixels);
    if (frame && upload_) {
        auto uploaded = upload_(std::move(frame));
        if (!uploaded) return std::unexpected(uploaded.error());
        frame = std::move(*uploaded);
    }
    if (!frame) return std::unexpected(libavError("encode a picture", AVERROR(ENOMEM)));
    frame->pts = picture.timeUnits;
    frame->pict_type = picture.isIdrWanted ? AV_PICTURE_TYPE_I : AV_PICTURE_TYPE_NONE;
    if (const int sent = avcodec_send_frame(context_.get(), frame.get()); sent < 0)
        return std::unexpected(libavError("encode a picture", sent));
    return receive(sink);
}

Result<void> LibavEncoder::finish(const PictureSink& sink) {
    if (const int sent = avcodec_send_frame(context_.get(), nullptr); sent < 0)
        return std::unexpected(libavError("end the encoding", sent));
    return receive(sink);
}

Result<void> LibavEncoder::receive(const PictureSink& sink) {
    while (true) {
        const int received = avcodec_receive_packet(context_.get(), packet_.get());
        if (received == AVERROR(EAGAIN) || received == AVERROR_EOF) return {};
        if (received < 0) return std::unexpected(libavError("encode a picture", received));
        sample_.clear();
        appendAvcSample({packet_->data, static_cast<std::size_t>(packet_->size)}, sample_);
        sink({sample_, packet_->pts, (packet_->flags & AV_PKT_FLAG_KEY) != 0});
        av_packet_unref(packet_.get());
    }
}

}  // namespace kasto::ffmpeg
