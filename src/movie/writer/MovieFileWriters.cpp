#include "movie/writer/MovieFileWriters.h"

#include "movie/writer/MovieFileWriter.h"

#include <unistd.h>

#include <cerrno>
#include <utility>

namespace kasto {

namespace {

// 0 if a file can be made there.
int whyNotWritable(const std::filesystem::path& file) {
    if (access(file.c_str(), F_OK) == 0) return EEXIST;
    const auto folder = file.has_parent_path() ? file.parent_path() : std::filesystem::path(".");
    return access(folder.c_str(), W_OK | X_OK) == 0 ? 0 : errno;
}

}  // namespace

MovieFileWriters::MovieFileWriters(VideoEncoderMaker openVideoEncoder, SoundEncoderMaker openSoundEncoder)
    : openVideoEncoder_(std::move(openVideoEncoder)), openSoundEncoder_(std::move(openSoundEncoder)) {}

Result<std::unique_ptr<MovieWriter>> MovieFileWriters::makeWriter(const std::filesystem::path& file,
                                                                  MediaTime fragmentInterval) {
    if (fragmentInterval.timescale <= 0 || fragmentInterval.value <= 0)
        return failure("the fragments of a movie need a length");
    if (const int errorNumber = whyNotWritable(file))
        return std::unexpected(systemError("write the movie " + file.string(), errorNumber));
    return std::make_unique<MovieFileWriter>(file, fragmentInterval, openVideoEncoder_, openSoundEncoder_);
}

}  // namespace kasto
