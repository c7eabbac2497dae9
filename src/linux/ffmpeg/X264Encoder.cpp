#include "linux/ffmpeg/X264Encoder.h"

#include "linux/ffmpeg/EncoderPreset.h"
#include "linux/ffmpeg/LibavEncoder.h"
#include "linux/ffmpeg/RepeatingEncoder.h"

#include <algorithm>
#include <array>
#include <thread>

namespace kasto {

namespace {

// ultrafast leaves out what makes the stream High, so both are asked for. No picture waits for a later one
// and nothing looks ahead: on screens that buys no quality, and what the encoder holds is lost in a crash.
// Variance-driven quantisers would spend the bits on flat areas instead of text (1.9 dB on scrolling text).
// A constant rate is told, since with varying times each picture waits for the next one's.
// A floor for the quantiser keeps a still screen from being refined beyond what can be seen.
constexpr const char* kParameters =
    "cabac=1:8x8dct=1:bframes=0:weightp=0:scenecut=0:rc-lookahead=0:sync-lookahead=0:mbtree=0:aq-mode=0:"
    "qpmin=10:force-cfr=1";

// More of them gain little and hold back more pictures.
constexpr unsigned kMostThreads = 8;

unsigned coreCount() { return std::max(1u, std::thread::hardware_concurrency()); }

}  // namespace

Result<std::unique_ptr<VideoEncoder>> openX264Encoder(const VideoInputSettings& settings) {
    return openX264Encoder(settings, x264Preset(settings, coreCount()));
}

Result<std::unique_ptr<VideoEncoder>> openX264Encoder(const VideoInputSettings& settings,
                                                      const char* preset) {
    auto context = makeEncoderContext("libx264", settings);
    if (!context) return std::unexpected(context.error());
    // All threads work on one picture: none is held back, so that repeated pictures can follow at once.
    (*context)->thread_type = FF_THREAD_SLICE;
    (*context)->thread_count = static_cast<int>(std::min(coreCount(), kMostThreads));
    const std::array<CodecOption, 4> options{{
        {"preset", preset},
        {"profile", "high"},
        {"forced-idr", "1"},
        {"x264-params", kParameters},
    }};
    auto encoder = LibavEncoder::open(std::move(*context), options);
    if (!encoder) return encoder;
    return sparingRepeats(std::move(*encoder), settings);
}

}  // namespace kasto
