#include "linux/ffmpeg/VaapiEncoder.h"

#include "linux/ffmpeg/LibavEncoder.h"

extern "C" {
#include <libavutil/hwcontext.h>
}

#include <array>

namespace kasto::ffmpeg {

namespace {

// Surfaces in the graphics memory: those the encoder works on and those on their way to it.
constexpr int kSurfaces = 16;

Result<BufferHandle> makeSurfaces(const VideoInputSettings& settings) {
    AVBufferRef* opened = nullptr;
    if (const int made = av_hwdevice_ctx_create(&opened, AV_HWDEVICE_TYPE_VAAPI, nullptr, nullptr, 0);
        made < 0)
        return std::unexpected(libavError("open the graphics processor", made));
    const BufferHandle device(opened);
    BufferHandle surfaces(av_hwframe_ctx_alloc(device.get()));
    if (!surfaces) return std::unexpected(libavError("make surfaces", AVERROR(ENOMEM)));
    auto* frames = reinterpret_cast<AVHWFramesContext*>(surfaces->data);
    frames->format = AV_PIX_FMT_VAAPI;
    frames->sw_format = AV_PIX_FMT_NV12;
    frames->width = settings.width;
    frames->height = settings.height;
    frames->initial_pool_size = kSurfaces;
    if (const int made = av_hwframe_ctx_init(surfaces.get()); made < 0)
        return std::unexpected(libavError("make surfaces", made));
    return surfaces;
}

Result<FrameHandle> upload(AVBufferRef* surfaces, const FrameHandle& picture) {
    FrameHandle surface(av_frame_alloc());
    if (!surface) return std::unexpected(libavError("take a surface", AVERROR(ENOMEM)));
    if (const int taken = av_hwframe_get_buffer(surfaces, surface.get(), 0); taken < 0)
        return std::unexpected(libavError("take a surface", taken));
    if (const int moved = av_hwframe_transfer_data(surface.get(), picture.get(), 0); moved < 0)
        return std::unexpected(libavError("fill a surface", moved));
    return surface;
}

}  // namespace

Result<std::unique_ptr<VideoEncoder>> openVaapiEncoder(const VideoInputSettings& settings) {
    auto context = makeEncoderContext("h264_vaapi", settings);
    if (!context) return std::unexpected(context.error());
    auto surfaces = makeSurfaces(settings);
    if (!surfaces) return std::unexpected(surfaces.error());
    (*context)->pix_fmt = AV_PIX_FMT_VAAPI;
    (*context)->hw_frames_ctx = av_buffer_ref(surfaces->get());
    constexpr std::array<CodecOption, 1> kOptions{{{"rc_mode", "VBR"}}};
    return LibavEncoder::open(std::move(*context), kOptions,
                              [held = std::shared_ptr<AVBufferRef>(std::move(*surfaces))](
                                  FrameHandle picture) { return upload(held.get(), picture); });
}

}  // namespace kasto::ffmpeg
