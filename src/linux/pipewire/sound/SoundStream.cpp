#include "linux/pipewire/sound/SoundStream.h"

#include <spa/param/audio/format-utils.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <span>
#include <utility>

namespace kasto::pipewire {

namespace {

// The connection's thread never pauses for longer.
constexpr std::size_t kRingS = 1;

std::int64_t monotonicNs() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return SPA_TIMESPEC_TO_NSEC(&now);
}

std::int64_t framesToNs(std::size_t frames) {
    return static_cast<std::int64_t>(frames) * SPA_NSEC_PER_SEC / kSoundRate;
}

// The whole frames that the buffer holds; nothing if it is damaged. Offset and size are written by another
// process, so they are clamped to the mapped memory.
std::span<const float> samplesIn(const spa_buffer& buffer, int channels) {
    if (buffer.n_datas == 0) return {};
    const spa_data& data = buffer.datas[0];
    if (!data.data || !data.chunk || (data.chunk->flags & SPA_CHUNK_FLAG_CORRUPTED)) return {};
    const std::uint32_t offset = std::min(data.chunk->offset, data.maxsize);
    const std::uint32_t bytes = std::min(data.chunk->size, data.maxsize - offset);
    if (offset % sizeof(float) != 0) return {};
    const auto* first = reinterpret_cast<const float*>(static_cast<const std::byte*>(data.data) + offset);
    const std::size_t frames = bytes / sizeof(float) / static_cast<std::size_t>(channels);
    return {first, frames * static_cast<std::size_t>(channels)};
}

pw_properties* propertiesOf(const SoundStreamSettings& settings) {
    auto* properties = pw_properties_new(
        PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY, "Capture", PW_KEY_APP_NAME, "kasto", PW_KEY_APP_ID,
        settings.name.c_str(), PW_KEY_NODE_NAME, settings.name.c_str(), PW_KEY_NODE_DESCRIPTION,
        settings.title.c_str(), PW_KEY_NODE_LATENCY, "1024/48000",
        // Without this, mixing stereo to mono would lower the level.
        "channelmix.normalize", "true",
        // Without this, the session manager would restore a mute or a source that was set during an earlier
        // take.
        "state.restore-props", "false", "state.restore-target", "false", nullptr);
    if (settings.ofTheSink) pw_properties_set(properties, PW_KEY_STREAM_CAPTURE_SINK, "true");
    if (settings.source)
        pw_properties_setf(properties, PW_KEY_TARGET_OBJECT, "%llu",
                           static_cast<unsigned long long>(*settings.source));
    return properties;
}

}  // namespace

const pw_stream_events SoundStream::kEvents = [] {
    pw_stream_events events{};
    events.version = PW_VERSION_STREAM_EVENTS;
    events.state_changed = [](void* self, pw_stream_state, pw_stream_state state, const char* error) {
        static_cast<SoundStream*>(self)->stateChanged(state, error);
    };
    events.io_changed = [](void* self, std::uint32_t id, void* area, std::uint32_t size) {
        if (id != SPA_IO_Position) return;
        const bool isWhole = area && size >= sizeof(spa_io_position);
        static_cast<SoundStream*>(self)->setPosition(isWhole ? static_cast<spa_io_position*>(area) : nullptr);
    };
    events.process = [](void* self) { static_cast<SoundStream*>(self)->processBuffer(); };
    return events;
}();

SoundStream::SoundStream(pw_loop* loop, int channels, Handler onSamples,
                         std::function<void(std::string)> onEnd)
    : loop_(loop),
      channels_(channels),
      onSamples_(std::move(onSamples)),
      onEnd_(std::move(onEnd)),
      ring_(kRingS * kSoundRate * static_cast<std::size_t>(channels)),
      arrived_(loopEvent<&SoundStream::deliver>(loop, this)),
      ended_(loopEvent<&SoundStream::end>(loop, this)) {}

SoundStream::~SoundStream() {
    if (!stream_) return;
    spa_hook_remove(&listener_);
    // When this returns, no call on the realtime thread is under way any more.
    pw_stream_destroy(stream_);
}

Result<std::unique_ptr<SoundStream>> SoundStream::open(PipeWireConnection& connection,
                                                       const SoundStreamSettings& settings, Handler onSamples,
                                                       std::function<void(std::string why)> onEnd) {
    if (!connection.core()) return failure("there is no media server");
    std::unique_ptr<SoundStream> stream(
        new SoundStream(connection.loop(), settings.channels, std::move(onSamples), std::move(onEnd)));
    if (auto connected = stream->connect(connection.core(), settings); !connected)
        return std::unexpected(connected.error());
    return stream;
}

Result<void> SoundStream::connect(pw_core* core, const SoundStreamSettings& settings) {
    stream_ = pw_stream_new(core, settings.title.c_str(), propertiesOf(settings));
    if (!stream_ || !arrived_ || !ended_) return failure("the sound stream cannot be made");
    pw_stream_add_listener(stream_, &listener_, &kEvents, this);

    spa_audio_info_raw format{};
    format.format = SPA_AUDIO_FORMAT_F32;
    format.rate = kSoundRate;
    format.channels = static_cast<std::uint32_t>(channels_);
    format.position[0] = channels_ == 1 ? SPA_AUDIO_CHANNEL_MONO : SPA_AUDIO_CHANNEL_FL;
    format.position[1] = SPA_AUDIO_CHANNEL_FR;
    std::array<std::uint8_t, 1024> memory{};
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory.data(), memory.size());
    const spa_pod* wanted = spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &format);

    int flags = PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS | PW_STREAM_FLAG_RT_PROCESS;
    // Without DONT_RECONNECT the session manager would replace an unplugged source by another one.
    if (settings.source) flags |= PW_STREAM_FLAG_DONT_RECONNECT;
    const int error = pw_stream_connect(stream_, PW_DIRECTION_INPUT, PW_ID_ANY,
                                        static_cast<pw_stream_flags>(flags), &wanted, 1);
    if (error < 0) return std::unexpected(systemError("the sound stream cannot be connected", -error));
    return {};
}

void SoundStream::processBuffer() {
    pw_buffer* buffer = pw_stream_dequeue_buffer(stream_);
    if (!buffer) return;
    const auto samples = samplesIn(*buffer->buffer, channels_);
    // A block for which there is no room is lost. The time of the next block shows the gap.
    if (!samples.empty())
        ring_.push(samples, captureTimeNs(samples.size() / static_cast<std::size_t>(channels_)));
    pw_stream_queue_buffer(stream_, buffer);
    pw_loop_signal_event(loop_, arrived_.get());
}

std::int64_t SoundStream::captureTimeNs(std::size_t frames) const {
    const std::int64_t nowNs = monotonicNs();
    pw_time time{};
    const bool isTold = pw_stream_get_time_n(stream_, &time, sizeof time) >= 0 && time.now > 0 &&
                        std::abs(nowNs - time.now) < SPA_NSEC_PER_SEC;
    // The samples were captured before now, so this is the latest time that they can have begun.
    if (!isTold) return nowNs - framesToNs(frames);
    std::int64_t delayNs = 0;
    if (time.rate.denom > 0) delayNs = time.delay * SPA_NSEC_PER_SEC * time.rate.num / time.rate.denom;
    if (delayNs < 0 || delayNs > SPA_NSEC_PER_SEC) delayNs = 0;
    // The sink that drives the graph delivers in each quantum what it was given in the one before.
    if (position_ && position_->clock.id == sinkId_) delayNs += framesToNs(frames);
    return time.now - delayNs - framesToNs(std::min<std::size_t>(time.buffered, kSoundRate));
}

void SoundStream::deliver() {
    while (auto block = ring_.pop()) {
        const int frames = static_cast<int>(block->samples.size()) / channels_;
        // A single NaN or infinity would silence the encoder for the rest of the take.
        for (float& sample : block->samples)
            if (!std::isfinite(sample)) sample = 0;
        const double durationS = static_cast<double>(frames) / kSoundRate;
        const double heardS =
            static_cast<double>(block->timeNs) / SPA_NSEC_PER_SEC + (sink_ ? sink_->seconds(durationS) : 0);
        onSamples_({.samples = std::move(block->samples),
                    .channels = channels_,
                    .presentationS = clock_.timeOf(heardS, frames),
                    .durationS = durationS});
    }
}

void SoundStream::setSink(const SinkLatency& sink) {
    sink_ = &sink;
    sinkId_ = sink.nodeId();
}

// After this returns, the library may free the former position. So the realtime thread itself replaces the
// pointer, between two quanta, and this waits for it.
void SoundStream::setPosition(spa_io_position* position) {
    const auto take = [](spa_loop*, bool, std::uint32_t, const void* data, std::size_t, void* self) {
        std::memcpy(&static_cast<SoundStream*>(self)->position_, data, sizeof(spa_io_position*));
        return 0;
    };
    auto* context = pw_core_get_context(pw_stream_get_core(stream_));
    auto* realtime = pw_data_loop_get_loop(pw_context_get_data_loop(context));
    pw_loop_invoke(realtime, take, 1, &position, sizeof position, true, this);
}

void SoundStream::stateChanged(pw_stream_state state, const char* error) {
    if (state != PW_STREAM_STATE_ERROR && state != PW_STREAM_STATE_UNCONNECTED) return;
    if (endedWith_) return;
    endedWith_ = error ? error : "";
    // onEnd_ may destroy the stream, which is not allowed within the stream's own callback.
    pw_loop_signal_event(loop_, ended_.get());
}

void SoundStream::end() {
    const auto tell = onEnd_;
    tell(*endedWith_);
}

}  // namespace kasto::pipewire
