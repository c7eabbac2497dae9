#include "recording/TakeMovie.h"

#include "base/DebugLog.h"
#include "base/MediaRates.h"
#include "recording/KastoError.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <ctime>
#include <string>
#include <system_error>

namespace kasto {

namespace {

constexpr MediaTime kFragmentInterval{4 * kMovieTimescale, kMovieTimescale};

// "kasto-20261116-184200"
std::string nameOfNow() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    std::array<char, 64> name{};
    return {name.data(), std::strftime(name.data(), name.size(), "kasto-%Y%m%d-%H%M%S", &local)};
}

// True if something has that name, or if the file system does not answer: the name is not used then.
bool mayExist(const std::filesystem::path& file) {
    std::error_code error;
    return std::filesystem::symlink_status(file, error).type() != std::filesystem::file_type::not_found;
}

// A name that is not in use. A second take within one second gets "-2", as does one in the hour that is
// repeated when summer time ends. A file of that name that ends in .mp4 counts too: finished movies may be
// converted to it.
std::filesystem::path newMovieFile(const std::filesystem::path& folder) {
    const std::string name = nameOfNow();
    for (int take = 1;; ++take) {
        const std::string stem = take == 1 ? name : name + "-" + std::to_string(take);
        if (!mayExist(folder / (stem + ".mov")) && !mayExist(folder / (stem + ".mp4")))
            return folder / (stem + ".mov");
    }
}

// Checked before the writer is made, because the writer's own failure has the same text for all causes.
Result<void> checkWritable(const std::filesystem::path& folder) {
    const auto asFolder = folder / "";  // the slash at the end makes this fail for a file of that name
    if (access(asFolder.c_str(), W_OK | X_OK) == 0) return {};
    return std::unexpected(systemError("write to " + folder.string(), errno));
}

}  // namespace

Result<TakeMovie> TakeMovie::open(MovieWriters& writers, const std::filesystem::path& folder,
                                  const VideoInputSettings& video, bool systemSound, bool microphone) {
    if (auto writable = checkWritable(folder); !writable) return std::unexpected(writable.error());
    TakeMovie movie;
    movie.file_ = newMovieFile(folder);
    auto writer = writers.makeWriter(movie.file_, kFragmentInterval);
    if (!writer) return std::unexpected(writer.error());
    movie.writer_ = std::move(*writer);

    movie.video_ = movie.writer_->addVideoInput(video);
    if (!movie.video_) return failure(KastoError::writerFailed);
    movie.audio_.open(*movie.writer_, systemSound, microphone);
    movie.adaptor_ = movie.writer_->adaptor(*movie.video_);
    if (!movie.adaptor_ || !movie.writer_->startWriting()) {
        if (const auto error = movie.writer_->error()) DebugLog::log("writer refused: " + error->description);
        return failure(KastoError::writerFailed);
    }
    return movie;
}

std::optional<std::filesystem::path> TakeMovie::finish() {
    video_->markAsFinished();
    audio_.markAsFinished();
    writer_->finishWriting();
    if (writer_->status() != WriterStatus::completed) return std::nullopt;
    return file_;
}

void TakeMovie::discard() {
    writer_->cancelWriting();
    // The movie has no frame. If the file cannot be deleted, it just stays.
    std::error_code ignored;
    std::filesystem::remove(file_, ignored);
}

}  // namespace kasto
