#include "movie/writer/SoundTrack.h"

#include "base/MediaRates.h"
#include "base/log/DebugLog.h"

#include <cmath>
#include <utility>

namespace kasto {

namespace {

constexpr std::int64_t kMaxQueuedFrames = kSoundRate;

}  // namespace

void SoundTrack::beginIn(MovieFile& file, SerialQueue& encoding) {
    file_ = &file;
    encoding_ = &encoding;
    indexInFile_ = file.addTrack(
        aacTrackFormat(settings_, encoder_->specificConfiguration(), encoder_->primingFrames()));
    accepting_ = true;
}

void SoundTrack::startSession(MediaTime time) {
    if (std::isnan(sessionStartS_)) sessionStartS_ = time.seconds();
}

bool SoundTrack::isReadyForMoreMediaData() const {
    return accepting_ && queuedFrames_ < kMaxQueuedFrames && file_->isKeepingUp() && !file_->error();
}

bool SoundTrack::append(const AudioSamples& samples, MediaTime presentationTime) {
    const double sessionStartS = sessionStartS_;
    if (!isReadyForMoreMediaData() || std::isnan(sessionStartS)) return false;
    if (samples.channels != settings_.channels) return false;
    const auto frames = static_cast<std::int64_t>(samples.samples.size()) / samples.channels;
    queuedFrames_ += frames;
    encoding_->async([this, taken = samples, frames, timeS = presentationTime.seconds() - sessionStartS] {
        encode(taken, timeS);
        queuedFrames_ -= frames;
    });
    return true;
}

void SoundTrack::encode(const AudioSamples& samples, double timeS) {
    if (error()) return;
    const auto channels = static_cast<std::size_t>(samples.channels);
    const auto frames = static_cast<std::int64_t>(samples.samples.size() / channels);
    const auto placement = timeline_.place(timeS, frames);
    addSilence(placement.silence);
    const std::span<const float> heard(samples.samples);
    const auto rest = heard.subspan(static_cast<std::size_t>(placement.skipped) * channels);
    if (!error()) extend(encoder_->encode(rest, placement.stretch, toFile()));
}

void SoundTrack::addSilence(std::int64_t frames) {
    if (frames > 0) extend(encoder_->encodeSilence(frames, toFile()));
}

void SoundTrack::extend(const Result<std::int64_t>& added) {
    if (added) {
        timeline_.advance(*added);
    } else {
        fail(added.error());
    }
}

void SoundTrack::movieReached(double movieTimeS) {
    if (!error()) addSilence(timeline_.missing(movieTimeS));
}

void SoundTrack::finish(double movieTimeS) {
    accepting_ = false;
    if (error()) return;
    addSilence(std::llround(movieTimeS * kSoundRate) - timeline_.frames());
    if (error()) return;
    if (const auto finished = encoder_->finish(toFile()); !finished) fail(finished.error());
}

PacketSink SoundTrack::toFile() {
    return [this](std::span<const std::uint8_t> packet) {
        file_->append(indexInFile_, {.data = packet,
                                     .timeUnits = packets_++ * kAacPacketFrames,
                                     .durationUnits = kAacPacketFrames,
                                     .isSync = true});
    };
}

void SoundTrack::fail(const Error& error) {
    accepting_ = false;
    error_.set(error);
    DebugLog::log("a sound track ends early: " + error.description);
}

}  // namespace kasto
