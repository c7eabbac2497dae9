#include "linux/pipewire/camera/PipeWireCameras.h"

#include "base/log/DebugLog.h"
#include "linux/pipewire/PipeWireConnection.h"
#include "linux/pipewire/camera/CameraStream.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace kasto::pipewire {

namespace {

constexpr double kCheckS = 1;     // between two checks whether the camera still delivers
constexpr int kReopenChecks = 4;  // after this many without a picture the camera is opened again
constexpr int kQuietChecks = 2;   // some cameras take more than a second to start

CameraDevice deviceOf(const MediaNode& node) { return {node.name, node.description}; }

// Screen casts and other producers are video sources too, with another role.
bool isCamera(const MediaNode& node) {
    return node.mediaClass == "Video/Source" && (node.role.empty() || node.role == "Camera");
}

// In the order in which they were plugged in.
std::vector<MediaNode> camerasOf(const PipeWireConnection& connection) {
    const auto held = connection.lock();
    std::vector<MediaNode> cameras;
    for (const auto& [id, node] : connection.nodes())
        if (isCamera(node)) cameras.push_back(node);
    std::ranges::sort(cameras, {}, &MediaNode::serial);
    return cameras;
}

std::optional<MediaNode> find(const PipeWireConnection& connection, const std::string& deviceId) {
    const auto cameras = camerasOf(connection);
    const auto found = std::ranges::find(cameras, deviceId, &MediaNode::name);
    return found == cameras.end() ? std::nullopt : std::optional(*found);
}

// Keeps one camera running: opens it again after it was unplugged and plugged in, or the server restarted.
class PipeWireCameraRun final : public CameraRun {
public:
    PipeWireCameraRun(PipeWireConnection& connection, std::string deviceId, SerialQueue& queue,
                      CameraSession::FrameHandler onFrame, std::shared_ptr<CameraStream> stream)
        : connection_(connection),
          deviceId_(std::move(deviceId)),
          queue_(queue),
          onFrame_(std::move(onFrame)),
          stream_(std::move(stream)),
          check_(queue.startTimer(kCheckS, kCheckS, kCheckS / 4, [this] { check(); })) {}

private:
    void check() {
        if (stream_ && stream_->isLost()) {
            stream_.reset();
            quietChecks_ = kQuietChecks;
        }
        // A stream whose link to the camera was removed does not end; it just delivers nothing.
        if (stream_ && quietChecks_ >= kReopenChecks) {
            stream_.reset();
            quietChecks_ = kQuietChecks;
        }
        if (!stream_) reopen();
        quietChecks_ = stream_ && stream_->tookDelivered() ? 0 : quietChecks_ + 1;
        const bool delivers = quietChecks_ < kQuietChecks;
        if (delivers == std::exchange(delivers_, delivers)) return;
        DebugLog::log(delivers ? "camera delivers again" : "camera delivers no pictures");
        // An empty frame, so that the tile does not go on showing the last picture.
        if (!delivers) onFrame_({});
    }

    void reopen() {
        const auto node = find(connection_, deviceId_);
        if (!node) return;
        if (auto stream = CameraStream::open(connection_, *node, queue_, onFrame_)) stream_ = *stream;
    }

    PipeWireConnection& connection_;
    const std::string deviceId_;
    SerialQueue& queue_;
    const CameraSession::FrameHandler onFrame_;
    std::shared_ptr<CameraStream> stream_;  // empty while the camera is gone
    int quietChecks_ = 0;                   // consecutive checks without a picture
    bool delivers_ = true;
    const std::unique_ptr<QueueTimer> check_;
};

}  // namespace

std::vector<CameraDevice> PipeWireCameras::devices() const {
    std::vector<CameraDevice> devices;
    std::ranges::transform(camerasOf(connection_), std::back_inserter(devices), deviceOf);
    return devices;
}

std::optional<CameraDevice> PipeWireCameras::defaultDevice() const {
    const auto held = connection_.lock();
    const auto* chosen = connection_.defaultNode(MediaDefault::videoSource);
    if (chosen && isCamera(*chosen)) return deviceOf(*chosen);
    const auto cameras = camerasOf(connection_);
    return cameras.empty() ? std::nullopt : std::optional(deviceOf(cameras.front()));
}

Result<std::unique_ptr<CameraRun>> PipeWireCameras::run(const std::string& deviceId, SerialQueue& queue,
                                                        FrameHandler onFrame) {
    const auto node = find(connection_, deviceId);
    if (!node) return failure("the camera is gone");
    auto stream = CameraStream::open(connection_, *node, queue, onFrame);
    if (!stream) {
        DebugLog::log("camera " + node->description + ": " + stream.error().description);
        return std::unexpected(stream.error());
    }
    return std::make_unique<PipeWireCameraRun>(connection_, deviceId, queue, std::move(onFrame),
                                               std::move(*stream));
}

}  // namespace kasto::pipewire
