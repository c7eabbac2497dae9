#pragma once

#include "base/Guarded.h"
#include "base/Result.h"
#include "base/SerialQueue.h"
#include "linux/pipewire/PipeWireConnection.h"
#include "linux/pipewire/camera/CameraPictures.h"
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

// A stream of pictures from one camera, until the camera is unplugged or the server ends. Made, used and
// destroyed on the queue that it delivers on.
//
// The connection's thread keeps the newest buffer and returns older ones to the camera at once. The queue
// converts the newest buffer to a picture and returns it too. If the camera is faster than the queue,
// pictures are dropped; the camera never waits.
class CameraStream final : public std::enable_shared_from_this<CameraStream>, private PipeWireObserver {
public:
    // Waits until the camera streams, at most three seconds; fails if it does not. Connection and queue must
    // outlive the stream. onFrame gets each picture, and an empty one when the camera is lost.
    static Result<std::shared_ptr<CameraStream>> open(PipeWireConnection& connection, const MediaNode& node,
                                                      SerialQueue& queue,
                                                      CameraSession::FrameHandler onFrame);
    ~CameraStream() override;

    // True once the camera or the server is gone. A lost stream delivers nothing more. Any thread.
    bool isLost() const { return isLost_; }

    // Whether a picture was delivered since the last call.
    bool tookDelivered() { return std::exchange(hasDelivered_, false); }

private:
    CameraStream(PipeWireConnection& connection, SerialQueue& queue, CameraSession::FrameHandler onFrame);

    Result<void> start(const MediaNode& node, const CameraFormat& format);
    Result<void> connect(const MediaNode& node, const CameraFormat& format);
    void deliver();

    // Called on the connection's thread.
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
    bool hasDelivered_ = false;  // used on the queue only

    // Guarded by the connection's lock.
    pw_stream* stream_ = nullptr;
    spa_hook listener_{};
    bool isStreaming_ = false;
    std::string error_;
    std::atomic<bool> isLost_ = false;
    bool isSettled_ = false;
    std::binary_semaphore settled_{0};  // released once, when the stream flows or is lost

    // While this is held, the library does not unmap the buffers' memory, and pictures_ does not change.
    // Taken before the lock of slots_.
    std::mutex memory_;
    std::optional<CameraPictures> pictures_;

    struct Slots {
        pw_buffer* newest = nullptr;  // waits to be converted
        pw_buffer* taken = nullptr;   // is being converted by the queue
    };
    Guarded<Slots> slots_;
};

}  // namespace kasto::pipewire
