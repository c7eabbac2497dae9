#pragma once

#include <spa/param/video/format-utils.h>
#include <spa/pod/builder.h>

#include <optional>
#include <span>
#include <vector>

namespace kasto::pipewire {

// The coding of a camera's pixels, in the order of what it costs to turn them into a bgrx picture.
enum class CameraCoding { bgrx, nv12, i420, yuy2, mjpeg };

struct CameraFormat {
    CameraCoding coding = CameraCoding::bgrx;
    spa_video_format spaFormat = SPA_VIDEO_FORMAT_UNKNOWN;  // unknown for mjpeg
    int width = 0;                                          // in pixels, at most kMaxSidePx
    int height = 0;
    spa_fraction framesPerSecond{0, 1};  // numerator 0 = unknown
    spa_video_color_matrix matrix = SPA_VIDEO_COLOR_MATRIX_UNKNOWN;
    spa_video_color_range range = SPA_VIDEO_COLOR_RANGE_UNKNOWN;

    // Formats with a larger width or height are ignored as implausible.
    static constexpr int kMaxSidePx = 8192;
};

// Adds the usable formats that a camera offers in this EnumFormat parameter. A range of sizes or rates adds
// only the value nearest to 1280×720 and 30 frames a second.
void addOffered(const spa_pod& parameter, std::vector<CameraFormat>& formats);

// The format in this Format parameter; nullopt if it is not usable.
std::optional<CameraFormat> agreedFormat(const spa_pod& parameter);

// The format to ask a camera for: at least 24 frames a second if it has that, then the largest up to
// 1280×720, then the rate nearest to 30, then the coding that costs least.
std::optional<CameraFormat> chooseFormat(std::span<const CameraFormat> formats);

// An EnumFormat parameter that asks for exactly this format. It lies in the builder's memory.
const spa_pod* buildFormat(spa_pod_builder& builder, const CameraFormat& format);

}  // namespace kasto::pipewire
