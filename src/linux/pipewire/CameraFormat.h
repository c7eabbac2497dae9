#pragma once

#include <spa/param/video/format-utils.h>
#include <spa/pod/builder.h>

#include <optional>
#include <span>
#include <vector>

namespace kasto::pipewire {

// How the pixels of a camera come, those that cost least to turn into a picture first.
enum class CameraCoding { bgrx, nv12, i420, yuy2, mjpeg };

struct CameraFormat {
    CameraCoding coding = CameraCoding::bgrx;
    spa_video_format spaFormat = SPA_VIDEO_FORMAT_UNKNOWN;  // unknown where it is compressed
    int width = 0;                                          // in pixels, at most kMostSidePx
    int height = 0;
    spa_fraction framesPerSecond{0, 1};  // 0 = the camera does not tell
    spa_video_color_matrix matrix = SPA_VIDEO_COLOR_MATRIX_UNKNOWN;
    spa_video_color_range range = SPA_VIDEO_COLOR_RANGE_UNKNOWN;

    // Larger pictures are taken for a mistake.
    static constexpr int kMostSidePx = 8192;
};

// Adds the formats that a camera offers by this parameter (EnumFormat), as far as they can be used. Of a
// range it is the one nearest to what is liked best.
void addOffered(const spa_pod& parameter, std::vector<CameraFormat>& formats);

// The format that was agreed on, if it is one that can be used.
std::optional<CameraFormat> agreedFormat(const spa_pod& parameter);

// The one to ask for: as large as 1280 x 720 at 30 frames a second if the camera has it, and then the one
// that costs least.
std::optional<CameraFormat> chooseFormat(std::span<const CameraFormat> formats);

// A parameter that asks for exactly this format, in the builder's memory.
const spa_pod* buildFormat(spa_pod_builder& builder, const CameraFormat& format);

}  // namespace kasto::pipewire
