#include "linux/pipewire/sound/PipeWireSound.h"

#include "base/AppIdentity.h"
#include "base/log/DebugLog.h"
#include "linux/pipewire/LoopSource.h"
#include "linux/pipewire/PipeWireConnection.h"
#include "linux/pipewire/sound/SinkLatency.h"
#include "linux/pipewire/sound/SoundStream.h"

#include <optional>
#include <set>
#include <string>
#include <utility>

namespace kasto::pipewire {

namespace {

constexpr std::time_t kSoundCheckS = 1;  // between two checks whether sound arrives
constexpr int kChecksUntilReopened = 3;  // after this many without sound the stream is opened again

std::string labelOf(StreamOutputType type) {
    return type == StreamOutputType::audio ? "system sound" : "microphone";
}

// Keeps system sound or the microphone flowing while it exists: follows changes of the default device, and
// opens the stream again after a device was unplugged and plugged in, or the server restarted.
class PipeWireSoundRun final : public SoundRun, private PipeWireObserver {
public:
    // With the connection's lock held.
    PipeWireSoundRun(PipeWireConnection& connection, StreamOutputType type, StreamOutput& output,
                     SerialQueue& queue)
        : connection_(connection), type_(type), output_(output), queue_(queue) {
        followDefault_ = loopEvent<&PipeWireSoundRun::followDefault>(connection_.loop(), this);
        check_ = loopTimer<&PipeWireSoundRun::check>(connection_.loop(), this, kSoundCheckS);
        connection_.addObserver(*this);
        followDefault();
    }

    ~PipeWireSoundRun() override {
        const auto held = connection_.lock();
        connection_.removeObserver(*this);
        stream_.reset();
        sink_.reset();
        check_.reset();
        followDefault_.reset();
    }

private:
    void mediaChanged() override {
        if (followDefault_) pw_loop_signal_event(connection_.loop(), followDefault_.get());
    }
    void serverGone() override {
        stream_.reset();
        sink_.reset();
        openedOn_.reset();
    }

    // The default device; null if there is none. Where there is no microphone, the session manager names the
    // speakers as the default source, whose monitor must not be recorded as the microphone.
    const MediaNode* device() const {
        if (type_ == StreamOutputType::audio) return connection_.defaultNode(MediaDefault::audioSink);
        const auto* source = connection_.defaultNode(MediaDefault::audioSource);
        const bool isSource = source && (source->mediaClass.starts_with("Audio/Source") ||
                                         source->mediaClass == "Audio/Duplex");
        return isSource ? source : nullptr;
    }

    void followDefault() {
        const auto* chosen = device();
        if (chosen && type_ == StreamOutputType::audio) watchSink(chosen->id);
        // The session manager moves a running stream to the new default sink, without a gap.
        const bool follows = type_ == StreamOutputType::audio && stream_ && chosen;
        if (follows || (chosen && openedOn_ == chosen->serial)) return;
        if (stream_ && !chosen) say(" is gone");
        stream_.reset();
        openedOn_.reset();
        if (chosen) open(*chosen);
    }

    void watchSink(std::uint32_t nodeId) {
        if (!connection_.core() || (sink_ && sink_->nodeId() == nodeId)) return;
        auto sink = std::make_unique<SinkLatency>(connection_.core(), nodeId);
        if (stream_) stream_->setSink(*sink);
        sink_ = std::move(sink);
    }

    void open(const MediaNode& device) {
        openedOn_ = device.serial;
        SoundStreamSettings settings{.name = std::string(kBundleIdentifier) +
                                             (type_ == StreamOutputType::audio ? ".sound" : ".microphone"),
                                     .title = "kasto " + labelOf(type_),
                                     .channels = type_ == StreamOutputType::audio ? 2 : 1,
                                     .ofTheSink = type_ == StreamOutputType::audio,
                                     .source = {}};
        if (type_ == StreamOutputType::microphone) settings.source = device.serial;
        auto stream = SoundStream::open(
            connection_, settings, [this](AudioSamples samples) { deliver(std::move(samples)); },
            [this](const std::string& why) { streamEnded(why); });
        if (!stream) return streamEnded(stream.error().description);
        stream_ = std::move(*stream);
        if (sink_) stream_->setSink(*sink_);
        say(": " + device.description);
    }

    void deliver(AudioSamples samples) {
        hasDelivered_ = true;
        queue_.async([output = &output_, type = type_, buffer = SampleBuffer(std::move(samples))] {
            output->streamDidOutputSampleBuffer(buffer, type);
        });
    }

    // The device stays "opened" until the next check: a device that refuses would be asked again at once.
    void streamEnded(const std::string& why) {
        stream_.reset();
        say(why.empty() ? " is gone" : " ended: " + why);
        mediaChanged();
    }

    void check() {
        const bool delivered = std::exchange(hasDelivered_, false);
        if (delivered) said_.clear();
        if (std::exchange(isFlowing_, delivered) != delivered)
            say(delivered ? " arrives again" : " does not arrive");
        quietChecks_ = delivered ? 0 : quietChecks_ + 1;
        // A stream whose link to its device was removed does not end; it just delivers nothing.
        if (delivered || (stream_ && quietChecks_ % kChecksUntilReopened != 0)) return;
        stream_.reset();
        connection_.rereadDefaults();
        openedOn_.reset();
        followDefault();
    }

    // Logs each line once until sound arrives again, because a failure may repeat every second.
    void say(const std::string& what) {
        if (said_.insert(what).second) DebugLog::log(labelOf(type_) + what);
    }

    PipeWireConnection& connection_;
    const StreamOutputType type_;
    StreamOutput& output_;
    SerialQueue& queue_;

    // Guarded by the connection's lock.
    LoopSource followDefault_;
    LoopSource check_;
    std::unique_ptr<SinkLatency> sink_;  // for system sound only
    std::unique_ptr<SoundStream> stream_;
    std::optional<std::uint64_t> openedOn_;  // the serial of the device that was opened last
    bool hasDelivered_ = false;              // since the last check
    bool isFlowing_ = true;
    int quietChecks_ = 0;
    std::set<std::string> said_;
};

}  // namespace

Result<std::unique_ptr<SoundRun>> PipeWireSound::start(StreamOutputType type, StreamOutput& output,
                                                       SerialQueue& queue) {
    if (type == StreamOutputType::screen) return failure("pictures are no sound");
    const auto held = connection_.lock();
    if (!connection_.loop()) return failure("the media server cannot be reached");
    return std::make_unique<PipeWireSoundRun>(connection_, type, output, queue);
}

bool PipeWireSound::deliversMicrophone() const {
    const auto held = connection_.lock();
    return connection_.loop() != nullptr;
}

}  // namespace kasto::pipewire
