#pragma once

#include "base/Guarded.h"
#include "base/Result.h"
#include "base/SerialQueue.h"
#include "linux/pipewire/CameraPictures.h"
#include "linux/pipewire/PipeWireConnection.h"
#include "platform/CameraSession.h"

#include <pipewire/pipewire.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <semaphore>
#include <string>
#include <utility>

namespace kasto::pipewire {

// The frames of one camera, from its plugging in until it is unplugged. Belongs to the queue it delivers on.
//
// The connection's thread puts the newest buffer aside and hands older ones back; the queue turns it into a
// picture and hands it back too. A camera that is faster than that loses frames and waits for nothing.
class CameraStream final : public std::enable_shared_from_this<CameraStream>, private PipeWireObserver {
public:
    // Waits until the camera has agreed to a format. Connection and queue outlive the stream.
    static Result<std::shared_ptr<CameraStream>> open(PipeWireConnection& connection, const MediaNode& node,
                                                      SerialQueue& queue,
                                                      CameraSession::FrameHandler onFrame);
    ~CameraStream() override;

    // The camera or the server is gone, and this stream with it. Any thread.
    bool isLost() const { return isLost_; }

    // Whether a picture was delivered since this was asked last.
    bool tookDelivered() { return std::exchange(hasDelivered_, false); }

private:
    CameraStream(PipeWireConnection& connection, SerialQueue& queue, CameraSession::FrameHandler onFrame);

    Result<void> start(const MediaNode& node, const CameraFormat& format);
    Result<void> connect(const MediaNode& node, const CameraFormat& format);
    void deliver();

    // The connection's thread
    void mediaChanged() override {}
    void serverGone() override;
    void processBuffers();
    void formatChanged(const spa_pod* parameter);
    void stateChanged(pw_stream_state state, const char* error);
    void forget(pw_buffer* buffer);
    void lose();
    void settle();
    static const pw_stream_events kEvents;

    PipeWireConnection& connection_;
    SerialQueue& queue_;
    const CameraSession::FrameHandler onFrame_;
    bool hasDelivered_ = false;  // the queue's

    // Under the connection's lock.
    pw_stream* stream_ = nullptr;
    spa_hook listener_{};
    bool isStreaming_ = false;
    std::string error_;
    std::atomic<bool> isLost_ = false;
    bool isSettled_ = false;
    std::binary_semaphore settled_{0};  // raised once, when it streams or is lost

    // The memory of buffers stays while this is held, and the pictures are not changed. Taken before
    // `slots_`.
    std::mutex memory_;
    std::optional<CameraPictures> pictures_;

    struct Slots {
        pw_buffer* newest = nullptr;  // waits for the queue
        pw_buffer* taken = nullptr;   // the queue makes a picture of it
    };
    Guarded<Slots> slots_;
};

}  // namespace kasto::pipewire
