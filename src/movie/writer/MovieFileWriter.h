#pragma once

#include "base/Guarded.h"
#include "movie/container/MovieFile.h"
#include "movie/writer/SoundTrack.h"
#include "movie/writer/VideoTrack.h"
#include "platform/MovieWriter.h"

#include <atomic>
#include <filesystem>
#include <functional>
#include <memory>
#include <vector>

namespace kasto {

// Writes H.264 and AAC into a QuickTime movie. All tracks are encoded on one queue, the movie's encoding
// queue, which passes finished fragments to the file's writing thread.
//
// When the disk is full or the video encoder fails in mid-take, that is reported once and nothing more is
// accepted, but the status stays `writing`: there is a movie to finish. A sound track whose encoder fails
// ends early, and the movie goes on.
class MovieFileWriter final : public MovieWriter {
public:
    MovieFileWriter(std::filesystem::path file, MediaTime fragmentInterval,
                    VideoEncoderMaker openVideoEncoder, SoundEncoderMaker openSoundEncoder);
    ~MovieFileWriter() override;

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
    void endTracks();
    void fail(const Error& error);
    void report(const Error& error);

    const std::filesystem::path path_;
    const MediaTime fragmentInterval_;
    const VideoEncoderMaker openVideoEncoder_;
    const SoundEncoderMaker openSoundEncoder_;
    std::function<void(const Error&)> onFailure_;
    std::atomic<bool> mayReport_ = true;  // until a failure was reported, or the writing ends
    Guarded<Outcome> outcome_;
    std::unique_ptr<MovieFile> file_;  // from the start until the writer is destroyed
    std::unique_ptr<VideoTrack> video_;
    std::vector<std::unique_ptr<SoundTrack>> sounds_;
    std::unique_ptr<SerialQueue> encoding_;  // last: its jobs use the other members
};

}  // namespace kasto
