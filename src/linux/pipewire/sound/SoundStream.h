#pragma once

#include "base/Result.h"
#include "linux/pipewire/LoopSource.h"
#include "linux/pipewire/PipeWireConnection.h"
#include "linux/pipewire/sound/BlockRing.h"
#include "linux/pipewire/sound/CaptureClock.h"
#include "linux/pipewire/sound/SinkLatency.h"
#include "platform/ScreenStream.h"

#include <pipewire/stream.h>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace kasto::pipewire {

struct SoundStreamSettings {
    std::string name;        // of the node, and the application id that mixers see
    std::string title;       // shown in mixers
    int channels = 2;        // 1 or 2
    bool ofTheSink = false;  // capture what the default sink plays, also when another sink becomes it
    std::optional<std::uint64_t> source;  // capture only this node; its serial
};

// A stream of sound from one node of the media server. Made, used and destroyed with the connection's lock
// held. Its callbacks run on the connection's thread, and never after its destruction.
//
// The library's realtime thread copies each buffer, with its time, into a ring and wakes the connection's
// thread, which does the rest. The realtime thread must not allocate or wait for a lock, because all sound of
// the desktop would wait with it. Fetching the buffers on another thread instead would lose their times.
class SoundStream {
public:
    using Handler = std::function<void(AudioSamples)>;

    // `onEnd` is called once when the stream has ended by itself, with the error text of the server or "".
    static Result<std::unique_ptr<SoundStream>> open(PipeWireConnection& connection,
                                                     const SoundStreamSettings& settings, Handler onSamples,
                                                     std::function<void(std::string why)> onEnd);
    ~SoundStream();
    SoundStream(const SoundStream&) = delete;
    SoundStream& operator=(const SoundStream&) = delete;

    // Adds the latency of the sink whose sound is captured to the times, so that they are the times at which
    // the sound is heard. The sink must outlive the stream or be replaced by another call.
    void setSink(const SinkLatency& sink);

private:
    SoundStream(pw_loop* loop, int channels, Handler onSamples, std::function<void(std::string)> onEnd);

    Result<void> connect(pw_core* core, const SoundStreamSettings& settings);
    void processBuffer();  // runs on the realtime thread
    std::int64_t captureTimeNs(std::size_t frames) const;
    void deliver();
    void setPosition(spa_io_position* position);
    void stateChanged(pw_stream_state state, const char* error);
    void end();
    static const pw_stream_events kEvents;

    pw_loop* const loop_;
    const int channels_;
    const Handler onSamples_;
    const std::function<void(std::string)> onEnd_;
    BlockRing ring_;
    const SinkLatency* sink_ = nullptr;
    std::atomic<std::uint32_t> sinkId_ = PW_ID_ANY;
    spa_io_position* position_ = nullptr;  // of the current quantum; used on the realtime thread only
    CaptureClock clock_;
    LoopSource arrived_;
    LoopSource ended_;
    std::optional<std::string> endedWith_;
    pw_stream* stream_ = nullptr;
    spa_hook listener_{};
};

}  // namespace kasto::pipewire
