#include "recording/TakeMovie.h"

#include "base/MediaRates.h"
#include "base/log/DebugLog.h"
#include "recording/KastoError.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <ctime>
#include <string>
#include <system_error>
#include <utility>

namespace kasto {

namespace {

constexpr MediaTime kFragmentInterval{4 * kMovieTimescale, kMovieTimescale};

// "kasto-20261116-184200"
std::string nameOfNow() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    tzset();  // localtime_r does not look for a change of the time zone
    localtime_r(&now, &local);
    std::array<char, 64> name{};
    return {name.data(), std::strftime(name.data(), name.size(), "kasto-%Y%m%d-%H%M%S", &local)};
}

// Whether something has that name. Fails if the file system does not answer.
Result<bool> isInUse(const std::filesystem::path& file) {
    std::error_code error;
    const auto status = std::filesystem::symlink_status(file, error);
    if (status.type() == std::filesystem::file_type::not_found) return false;
    if (error) return std::unexpected(systemError("look for " + file.string(), error.value()));
    return true;
}

// A name that is not in use. A second take within one second gets "-2", as does one in the hour that is
// repeated when summer time ends. A file of that name that ends in .mp4 counts too: finished movies may be
// converted to it.
Result<std::filesystem::path> newMovieFile(const std::filesystem::path& folder) {
    const std::string name = nameOfNow();
    for (int take = 1;; ++take) {
        const std::string stem = take == 1 ? name : name + "-" + std::to_string(take);
        const auto movie = isInUse(folder / (stem + ".mov"));
        if (!movie) return std::unexpected(movie.error());
        const auto converted = isInUse(folder / (stem + ".mp4"));
        if (!converted) return std::unexpected(converted.error());
        if (!*movie && !*converted) return folder / (stem + ".mov");
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
                                  const VideoInputSettings& video, bool systemSound, bool microphone,
                                  std::function<void(const Error&)> onFailure) {
    if (auto writable = checkWritable(folder); !writable) return std::unexpected(writable.error());
    auto file = newMovieFile(folder);
    if (!file) return std::unexpected(file.error());
    TakeMovie movie;
    movie.file_ = std::move(*file);
    auto writer = writers.makeWriter(movie.file_, kFragmentInterval);
    if (!writer) return std::unexpected(writer.error());
    movie.writer_ = std::move(*writer);

    movie.writer_->setOnFailure(std::move(onFailure));
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
    if (isInUse(file_).value_or(true)) return file_;
    DebugLog::log("the movie's file was removed while it was written: " + file_.string());
    return std::nullopt;
}

void TakeMovie::discard() {
    writer_->cancelWriting();
    // The movie has no frame. If the file cannot be deleted, it just stays.
    std::error_code ignored;
    std::filesystem::remove(file_, ignored);
}

}  // namespace kasto
