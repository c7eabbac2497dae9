#include "linux/ffmpeg/FfmpegHandles.h"

extern "C" {
#include <libavutil/error.h>
}

#include <array>
#include <string>

namespace kasto::ffmpeg {

Error libavError(std::string_view what, int returned) {
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
    av_strerror(returned, text.data(), text.size());
    return {std::string(what) + ": " + text.data(), AVUNERROR(returned)};
}

}  // namespace kasto::ffmpeg
