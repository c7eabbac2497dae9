#pragma once

#include "base/Guarded.h"
#include "linux/ffmpeg/SoundTrack.h"
#include "linux/ffmpeg/VideoTrack.h"
#include "movie/container/MovieFile.h"
#include "platform/MovieWriter.h"

#include <atomic>
#include <filesystem>
#include <functional>
#include <memory>
#include <vector>

namespace kasto::ffmpeg {

// Writes H.264 and AAC into a QuickTime movie. All tracks are encoded on one queue, whose thread is the only
// one to use the file.
//
// When the disk is full or the video encoder fails in mid-take, that is reported once and nothing more is
// accepted, but the status stays `writing`: there is a movie to finish. A sound track whose encoder fails
// ends early, and the movie goes on.
class FfmpegMovieWriter final : public MovieWriter {
public:
    FfmpegMovieWriter(std::filesystem::path file, MediaTime fragmentInterval);
    ~FfmpegMovieWriter() override;

    WriterInput* addVideoInput(const VideoInputSettings& settings) override;
    AudioWriterInput* addAudioInput(const AudioInputSettings& settings) override;
    PixelBufferAdaptor* adaptor(WriterInput& videoInput) override;
    void setOnFailure(std::function<void(const Error&)> onFailure) override;
    bool startWriting() override;
    void startSession(MediaTime time) override;
    void finishWriting() override;
    void cancelWriting() override;
    WriterStatus status() const override;
    std::optional<Error> error() const override;

private:
    struct Outcome {
        WriterStatus status = WriterStatus::unknown;
        std::optional<Error> error;
    };

    Result<void> open();
    void report(const Error& error);
    void endTracks();
    void fail(const Error& error);

    const std::filesystem::path path_;
    const MediaTime fragmentInterval_;
    std::function<void(const Error&)> onFailure_;
    std::atomic<bool> isReported_ = false;  // a failure was, or none is any more
    Guarded<Outcome> outcome_;
    std::unique_ptr<MovieFile> file_;  // from the start on until the writer goes
    std::unique_ptr<VideoTrack> video_;
    std::vector<std::unique_ptr<SoundTrack>> sounds_;
    std::unique_ptr<SerialQueue> encoding_;  // last: its jobs use the rest
};

}  // namespace kasto::ffmpeg
