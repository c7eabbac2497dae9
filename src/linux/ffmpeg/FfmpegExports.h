#pragma once

#include "platform/ExportSession.h"

namespace kasto::ffmpeg {

// Rewraps movies with libavformat.
class FfmpegExports : public MovieExports {
public:
    Result<std::unique_ptr<ExportSession>> makePassthroughSession(
        const std::filesystem::path& movie) override;
};

}  // namespace kasto::ffmpeg
