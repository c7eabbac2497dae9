#include "linux/ffmpeg/EncoderPreset.h"

#include <algorithm>
#include <array>

namespace kasto {

namespace {

struct Preset {
    const char* name;
    double nsPerPixel;  // processor time for text that is being zoomed, the hardest of what a screen shows
};

// Best first; bench/encode-cost measures them. The step from superfast to ultrafast costs 5 dB on moving
// text, so it is taken late.
constexpr std::array<Preset, 3> kPresets{{{"veryfast", 14.5}, {"superfast", 8.2}, {"ultrafast", 6.0}}};

// Of all the cores' time; the compositor and the programs that are recorded need the rest.
constexpr double kEncoderShare = 0.35;

}  // namespace

const char* x264Preset(const VideoInputSettings& settings, unsigned cores) {
    const double pixelsPerSecond =
        static_cast<double>(settings.width) * settings.height * settings.expectedFrameRate;
    const double nsPerPixelToSpend = kEncoderShare * 1e9 * std::max(1u, cores) / pixelsPerSecond;
    const auto* best =
        std::ranges::find_if(kPresets, [&](const Preset& p) { return p.nsPerPixel <= nsPerPixelToSpend; });
    return best == kPresets.end() ? kPresets.back().name : best->name;
}

}  // namespace kasto
