#include "recording/AudioTracks.h"

#include "base/log/DebugLog.h"

#include <cmath>
#include <string>

namespace kasto {

namespace {

constexpr std::int32_t kNanoseconds = 1'000'000'000;

bool isValid(const AudioSamples& samples) {
    return samples.channels > 0 && !samples.samples.empty() &&
           samples.samples.size() % static_cast<std::size_t>(samples.channels) == 0 &&
           std::isfinite(samples.presentationS);
}

std::string tagged(std::string_view tag) { return "audio(" + std::string(tag) + ")"; }

}  // namespace

AudioInputSettings AudioTracks::makeAudioInput(int channels, int bitRate) { return {channels, bitRate}; }

void AudioTracks::open(MovieWriter& writer, bool systemSound, bool microphone) {
    writer_ = &writer;
    if (systemSound) system_.input = writer.addAudioInput(makeAudioInput(2, 192'000));
    if (microphone) microphone_.input = writer.addAudioInput(makeAudioInput(1, 96'000));
}

void AudioTracks::append(const AudioSamples& samples, StreamOutputType type, double startT) {
    if (!isValid(samples)) return;
    if (type == StreamOutputType::audio) appendAudio(samples, system_, startT);
    if (type == StreamOutputType::microphone) appendAudio(samples, microphone_, startT);
}

void AudioTracks::appendAudio(const AudioSamples& samples, Track& track, double startT) {
    if (!track.input) return;
    if (writer_->status() != WriterStatus::writing || !track.input->isReadyForMoreMediaData()) return;
    const MediaTime offset = MediaTime::fromSeconds(startT, kNanoseconds);
    MediaTime time = MediaTime::fromSeconds(samples.presentationS, kNanoseconds);
    time.value -= offset.value;
    if (time.value < 0) return;
    if (!track.input->append(samples, time)) {
        const auto error = writer_->error();
        DebugLog::log(tagged(track.tag) + " append failed: " + (error ? error->description : "unknown"));
        return;
    }
    if (track.loggedFlowing) return;
    track.loggedFlowing = true;
    DebugLog::log(tagged(track.tag) + " flowing");
}

void AudioTracks::markAsFinished() {
    if (system_.input) system_.input->markAsFinished();
    if (microphone_.input) microphone_.input->markAsFinished();
}

}  // namespace kasto
