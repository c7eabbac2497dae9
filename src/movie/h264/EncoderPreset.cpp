#include "movie/h264/EncoderPreset.h"

#include <algorithm>

namespace kasto {

namespace {

// Processor time a pixel for text that is being zoomed, the hardest screen content that bench/encode-cost
// measures. ultrafast is 5 dB worse than superfast on moving text, so it is the last choice.
constexpr std::array<double, kX264Presets.size()> kNsPerPixel{14.5, 8.2, 6.0};

// The encoder's share of all cores' time. The compositor and the recorded programs need the rest.
constexpr double kEncoderShare = 0.35;

}  // namespace

std::size_t x264Preset(const VideoInputSettings& settings, unsigned cores) {
    const double pixelsPerSecond =
        static_cast<double>(settings.width) * settings.height * settings.expectedFrameRate;
    const double nsPerPixelToSpend = kEncoderShare * 1e9 * std::max(1u, cores) / pixelsPerSecond;
    for (std::size_t i = 0; i + 1 < kX264Presets.size(); ++i)
        if (kNsPerPixel[i] <= nsPerPixelToSpend) return i;
    return kX264Presets.size() - 1;
}

}  // namespace kasto
