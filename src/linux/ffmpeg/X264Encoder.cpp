#include "linux/ffmpeg/X264Encoder.h"

#include "linux/ffmpeg/EncoderPreset.h"
#include "linux/ffmpeg/LibavEncoder.h"

#include <algorithm>
#include <array>
#include <thread>

namespace kasto {

namespace {

// Low delay and low cost: no picture waits for a later one, and nothing looks ahead for cuts. ultrafast
// leaves out what makes the stream High, so both are asked for.
constexpr const char* kParameters =
    "cabac=1:8x8dct=1:bframes=0:weightp=0:scenecut=0:rc-lookahead=0:sync-lookahead=0:mbtree=0";

}  // namespace

Result<std::unique_ptr<VideoEncoder>> openX264Encoder(const VideoInputSettings& settings) {
    auto context = makeEncoderContext("libx264", settings);
    if (!context) return std::unexpected(context.error());
    const unsigned cores = std::max(1u, std::thread::hardware_concurrency());
    (*context)->thread_count = static_cast<int>(std::min(cores, 8u));
    const std::array<CodecOption, 4> options{{
        {"preset", x264Preset(settings, cores)},
        {"profile", "high"},
        {"forced-idr", "1"},
        {"x264-params", kParameters},
    }};
    return LibavEncoder::open(std::move(*context), options);
}

}  // namespace kasto
