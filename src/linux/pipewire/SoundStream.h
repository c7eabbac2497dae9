#pragma once

#include "base/Result.h"
#include "linux/pipewire/BlockRing.h"
#include "linux/pipewire/CaptureClock.h"
#include "linux/pipewire/LoopSource.h"
#include "linux/pipewire/PipeWireConnection.h"
#include "linux/pipewire/SinkLatency.h"
#include "platform/ScreenStream.h"

#include <pipewire/stream.h>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace kasto::pipewire {

struct SoundStreamSettings {
    std::string name;        // of its node, and of its application in mixers
    std::string title;       // in mixers
    int channels = 2;        // 1 or 2
    bool ofTheSink = false;  // what the default sink plays, following the default when it changes
    std::optional<std::uint64_t> source;  // the node to capture, and no other, by its serial
};

// Sound of one node of the media server. Made, used and destroyed with the connection's lock held; calls back
// on the connection's thread, never after its destruction.
//
// The library's realtime thread copies each buffer and its time into a ring and wakes the connection's
// thread, which does the rest: a realtime thread that allocates or takes a queue's lock would make all the
// desktop's sound wait, and buffers that are fetched on another thread have lost their times.
class SoundStream {
public:
    using Handler = std::function<void(AudioSamples)>;

    // `onEnd` is called once, when nothing more will come, with an error if the server tells one.
    static Result<std::unique_ptr<SoundStream>> open(PipeWireConnection& connection,
                                                     const SoundStreamSettings& settings, Handler onSamples,
                                                     std::function<void(std::string why)> onEnd);
    ~SoundStream();
    SoundStream(const SoundStream&) = delete;
    SoundStream& operator=(const SoundStream&) = delete;

    // What these speakers play is captured: times become those at which it is heard. They outlive the stream,
    // or are told anew.
    void setSpeakers(const SinkLatency& speakers);

private:
    SoundStream(pw_loop* loop, int channels, Handler onSamples, std::function<void(std::string)> onEnd);

    Result<void> connect(pw_core* core, const SoundStreamSettings& settings);
    void processBuffer();  // the realtime thread's
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
    const SinkLatency* speakers_ = nullptr;
    std::atomic<std::uint32_t> speakersId_ = PW_ID_ANY;
    spa_io_position* position_ = nullptr;  // the realtime thread's: of the round it is in
    CaptureClock clock_;
    LoopSource arrived_;
    LoopSource ended_;
    std::optional<std::string> endedWith_;
    pw_stream* stream_ = nullptr;
    spa_hook listener_{};
};

}  // namespace kasto::pipewire
