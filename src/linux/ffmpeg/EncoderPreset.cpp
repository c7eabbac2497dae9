#include "linux/ffmpeg/EncoderPreset.h"

#include <algorithm>
#include <array>
#include <limits>

namespace kasto {

namespace {

struct Step {
    double maxPixelRatePerCore;  // pixels per second
    const char* preset;
};

constexpr std::array<Step, 3> kSteps{{
    {16e6, "veryfast"},
    {32e6, "superfast"},
    {std::numeric_limits<double>::infinity(), "ultrafast"},
}};

}  // namespace

const char* x264Preset(const VideoInputSettings& settings, unsigned cores) {
    const double pixelRate =
        static_cast<double>(settings.width) * settings.height * settings.expectedFrameRate;
    const double perCore = pixelRate / std::max(1u, cores);
    return std::ranges::find_if(kSteps, [&](const Step& s) { return perCore <= s.maxPixelRatePerCore; })
        ->preset;
}

}  // namespace kasto
