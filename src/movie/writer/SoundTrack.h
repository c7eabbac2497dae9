#pragma once

#include "base/Guarded.h"
#include "base/SerialQueue.h"
#include "movie/container/MovieFile.h"
#include "movie/container/TrackFormat.h"
#include "movie/encoder/SoundEncoder.h"
#include "movie/sound/SoundTimeline.h"
#include "platform/MovieWriter.h"

#include <atomic>
#include <limits>
#include <memory>
#include <optional>

namespace kasto {

// A sound track of a movie: places buffers on the movie's time line, encodes them and writes them to the
// file, on the movie's encoding queue. Sound is refused while a second of it waits in the queue.
class SoundTrack final : public AudioWriterInput {
public:
    SoundTrack(const AudioInputSettings& settings, std::unique_ptr<SoundEncoder> encoder)
        : settings_(settings), encoder_(std::move(encoder)) {}

    // Adds the track to the file and accepts sound from now on. The file and the queue must outlive the
    // track's use.
    void beginIn(MovieFile& file, SerialQueue& encoding);

    // The movie's zero; only the first call counts.
    void startSession(MediaTime time);

    // Tells how far the pictures have come, in seconds: sound that is missing by then becomes silence. On
    // the encoding queue.
    void movieReached(double movieTimeS);

    // Fills the track with silence up to this time of the movie and ends it. On the encoding queue.
    void finish(double movieTimeS);

    // Accepts nothing more. Any thread.
    void cancel() { accepting_ = false; }

    // Why no more sound is accepted, if the encoder failed. Any thread.
    std::optional<Error> error() const { return error_.copy(); }

    bool isReadyForMoreMediaData() const override;
    void markAsFinished() override { accepting_ = false; }
    bool append(const AudioSamples& samples, MediaTime presentationTime) override;

private:
    void encode(const AudioSamples& samples, double timeS);
    void addSilence(std::int64_t frames);
    void extend(const Result<std::int64_t>& added);
    PacketSink toFile();
    void fail(const Error& error);

    const AudioInputSettings settings_;
    const std::unique_ptr<SoundEncoder> encoder_;  // used on the encoding queue, like the next two
    SoundTimeline timeline_;
    std::int64_t packets_ = 0;
    MovieFile* file_ = nullptr;
    SerialQueue* encoding_ = nullptr;
    std::size_t indexInFile_ = 0;
    std::atomic<double> sessionStartS_ = std::numeric_limits<double>::quiet_NaN();
    std::atomic<bool> accepting_ = false;
    std::atomic<std::int64_t> queuedFrames_ = 0;
    Guarded<std::optional<Error>> error_;
};

}  // namespace kasto
