#include "linux/ffmpeg/FfmpegHandles.h"

extern "C" {
#include <libavutil/error.h>
#include <libavutil/log.h>
}

#include <array>
#include <string>

namespace kasto::ffmpeg {

void silenceLibav() { av_log_set_level(AV_LOG_QUIET); }

Error libavError(std::string_view what, int returned) {
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
    av_strerror(returned, text.data(), text.size());
    return {std::string(what) + ": " + text.data(), AVUNERROR(returned)};
}

}  // namespace kasto::ffmpeg
