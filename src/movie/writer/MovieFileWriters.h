#pragma once

#include "movie/encoder/SoundEncoder.h"
#include "movie/encoder/VideoEncoder.h"
#include "platform/MovieWriter.h"

namespace kasto {

// Writers of QuickTime movies with H.264 and AAC.
class MovieFileWriters final : public MovieWriters {
public:
    // The makers open the encoders of each movie, on the thread that uses its writer.
    MovieFileWriters(VideoEncoderMaker openVideoEncoder, SoundEncoderMaker openSoundEncoder);

    // Fails at once where the file could not be made: when it exists, or its folder is missing or not
    // writable.
    Result<std::unique_ptr<MovieWriter>> makeWriter(const std::filesystem::path& file,
                                                    MediaTime fragmentInterval) override;

private:
    const VideoEncoderMaker openVideoEncoder_;
    const SoundEncoderMaker openSoundEncoder_;
};

}  // namespace kasto
