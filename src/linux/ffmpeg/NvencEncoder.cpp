#include "linux/ffmpeg/NvencEncoder.h"

#include "linux/ffmpeg/LibavEncoder.h"

#include <array>

namespace kasto::ffmpeg {

Result<std::unique_ptr<VideoEncoder>> openNvencEncoder(const VideoInputSettings& settings) {
    auto context = makeEncoderContext("h264_nvenc", settings);
    if (!context) return std::unexpected(context.error());
    constexpr std::array<CodecOption, 5> kOptions{{
        {"preset", "p4"},
        {"profile", "high"},
        {"rc", "vbr"},
        {"forced-idr", "1"},
        {"delay", "2"},
    }};
    return LibavEncoder::open(std::move(*context), kOptions);
}

}  // namespace kasto::ffmpeg
