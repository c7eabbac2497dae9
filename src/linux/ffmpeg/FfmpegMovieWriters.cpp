#include "linux/ffmpeg/FfmpegMovieWriters.h"

#include "linux/ffmpeg/FfmpegMovieWriter.h"

extern "C" {
#include <libavutil/log.h>
}

#include <unistd.h>

#include <cerrno>

namespace kasto::ffmpeg {

namespace {

// 0 if a file can be made there.
int whyNotWritable(const std::filesystem::path& file) {
    if (access(file.c_str(), F_OK) == 0) return EEXIST;
    const auto folder = file.has_parent_path() ? file.parent_path() : std::filesystem::path(".");
    return access(folder.c_str(), W_OK | X_OK) == 0 ? 0 : errno;
}

}  // namespace

// What goes wrong comes back as an error; an encoder that is only tried says nothing on the terminal.
FfmpegMovieWriters::FfmpegMovieWriters() { av_log_set_level(AV_LOG_QUIET); }

Result<std::unique_ptr<MovieWriter>> FfmpegMovieWriters::makeWriter(const std::filesystem::path& file,
                                                                    MediaTime fragmentInterval) {
    if (fragmentInterval.timescale <= 0 || fragmentInterval.value <= 0)
        return failure("the fragments of a movie need a length");
    if (const int errorNumber = whyNotWritable(file))
        return std::unexpected(systemError("write the movie " + file.string(), errorNumber));
    return std::make_unique<FfmpegMovieWriter>(file, fragmentInterval);
}

}  // namespace kasto::ffmpeg
