#pragma once

#include "base/Result.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/buffer.h>
#include <libavutil/frame.h>
}

#include <memory>
#include <string_view>

namespace kasto::ffmpeg {

struct FfmpegDeleter {
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
    void operator()(AVBufferRef* buffer) const { av_buffer_unref(&buffer); }
};

using CodecContextHandle = std::unique_ptr<AVCodecContext, FfmpegDeleter>;
using FrameHandle = std::unique_ptr<AVFrame, FfmpegDeleter>;
using PacketHandle = std::unique_ptr<AVPacket, FfmpegDeleter>;
using BufferHandle = std::unique_ptr<AVBufferRef, FfmpegDeleter>;

// Keeps the libraries from printing to the terminal: what fails comes back as an error. Any thread.
void silenceLibav();

// `what`, a colon and the library's text for a negative return value.
Error libavError(std::string_view what, int returned);

}  // namespace kasto::ffmpeg
