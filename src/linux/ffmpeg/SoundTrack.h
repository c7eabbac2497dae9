#pragma once

#include "base/Guarded.h"
#include "base/SerialQueue.h"
#include "linux/ffmpeg/AacEncoder.h"
#include "movie/container/MovieFile.h"
#include "movie/container/TrackFormat.h"
#include "movie/sound/SoundTimeline.h"
#include "platform/MovieWriter.h"

#include <atomic>
#include <limits>
#include <optional>

namespace kasto::ffmpeg {

// A sound track of a movie: places buffers on the movie's time, encodes them and hands them to the file, on
// the movie's encoding queue. Sound that comes while a second of it waits is refused.
class SoundTrack final : public AudioWriterInput {
public:
    explicit SoundTrack(const AudioInputSettings& settings) : settings_(settings) {}

    // Opens the encoder. Blocks.
    Result<void> open();

    // Adds the track to the file and takes sound from now on. Both outlive the track's use.
    void beginIn(MovieFile& file, SerialQueue& encoding);

    // The movie's zero; only the first call counts.
    void startSession(MediaTime time);

    // The pictures have come to this time: sound that should have been there by now is silence. On the
    // encoding queue.
    void movieReached(double movieTimeS);

    // Ends the track at this time of the movie. On the encoding queue.
    void finish(double movieTimeS);

    // Takes nothing more.
    void cancel() { accepting_ = false; }

    // Why no more sound is taken, if the encoder failed. Any thread.
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
    std::optional<AacEncoder> encoder_;  // the encoding queue's, as is what follows
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

}  // namespace kasto::ffmpeg
