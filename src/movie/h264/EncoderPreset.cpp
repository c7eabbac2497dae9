#include "movie/h264/EncoderPreset.h"

#include <algorithm>

namespace kasto {

namespace {

// Processor time for text that is being zoomed, the hardest of what a screen shows; bench/encode-cost
// measures it. The step from superfast to ultrafast costs 5 dB on moving text, so it is taken late.
constexpr std::array<double, kX264Presets.size()> kNsPerPixel{14.5, 8.2, 6.0};

// Of all the cores' time; the compositor and the programs that are recorded need the rest.
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
