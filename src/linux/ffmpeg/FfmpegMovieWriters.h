#pragma once

#include "platform/MovieWriter.h"

namespace kasto::ffmpeg {

// Movies encoded by libavcodec, in hardware where that works.
class FfmpegMovieWriters final : public MovieWriters {
public:
    FfmpegMovieWriters();

    // Fails at once where the file could not be made: when it exists, or its folder is missing or not
    // writable.
    Result<std::unique_ptr<MovieWriter>> makeWriter(const std::filesystem::path& file,
                                                    MediaTime fragmentInterval) override;
};

}  // namespace kasto::ffmpeg
