#pragma once

#include "base/MediaClock.h"
#include "base/Result.h"
#include "imaging/PixelBuffer.h"
#include "platform/MovieWriter.h"
#include "platform/ScreenStream.h"
#include "recording/AudioTracks.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

namespace kasto {

// The movie file of one take, being written. One thread at a time; the sound tracks may meanwhile be used on
// another.
class TakeMovie {
public:
    // Opens a new file in the folder, named after the local time, and starts writing. Fails with the reason
    // the folder cannot be written to, with the writer's own error, or with KastoError::writerFailed.
    // `onFailure` is called once at most, on a thread of the writer's, when writing ends by itself. It must
    // return at once. finish() then makes a movie of what was written.
    static Result<TakeMovie> open(MovieWriters& writers, const std::filesystem::path& folder,
                                  const VideoInputSettings& video, bool systemSound, bool microphone,
                                  std::function<void(const Error&)> onFailure);

    bool isWriting() const { return writer_->status() == WriterStatus::writing; }
    bool isReadyForVideo() const { return isWriting() && video_->isReadyForMoreMediaData(); }

    PixelBufferPool* pixelBufferPool() { return adaptor_->pixelBufferPool(); }
    void startSession(MediaTime time) { writer_->startSession(time); }

    // False if the frame was refused. The take goes on without it, unless isWriting() is false too.
    bool appendVideo(const PixelBufferRef& buffer, MediaTime time, const BlockSet& changed) {
        return adaptor_->append(buffer, time, changed);
    }
    AudioTracks& audio() { return audio_; }

    // Ends the tracks and waits until the file is complete. Returns the file. Returns none if the writer
    // failed, and keeps what was written; or if the file has been removed meanwhile.
    std::optional<std::filesystem::path> finish();

    // Stops writing and deletes the file.
    void discard();

    const std::filesystem::path& file() const { return file_; }

private:
    TakeMovie() = default;

    std::filesystem::path file_;
    std::unique_ptr<MovieWriter> writer_;
    WriterInput* video_ = nullptr;
    PixelBufferAdaptor* adaptor_ = nullptr;
    AudioTracks audio_;
};

}  // namespace kasto
