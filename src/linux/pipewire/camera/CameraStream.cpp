#include "linux/pipewire/camera/CameraStream.h"

#include "linux/pipewire/camera/CameraFormatQuery.h"

#include <spa/param/buffers.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <string>
#include <utility>

namespace kasto::pipewire {

namespace {

// Some cameras take more than a second to start.
constexpr std::chrono::seconds kStartTimeout(3);

}  // namespace

const pw_stream_events CameraStream::kEvents = [] {
    pw_stream_events events{};
    events.version = PW_VERSION_STREAM_EVENTS;
    events.destroy = [](void* self) { static_cast<CameraStream*>(self)->stream_ = nullptr; };
    events.state_changed = [](void* self, pw_stream_state, pw_stream_state state, const char* error) {
        static_cast<CameraStream*>(self)->stateChanged(state, error);
    };
    events.param_changed = [](void* self, std::uint32_t id, const spa_pod* parameter) {
        if (id == SPA_PARAM_Format) static_cast<CameraStream*>(self)->formatChanged(parameter);
    };
    events.remove_buffer = [](void* self, pw_buffer* buffer) {
        static_cast<CameraStream*>(self)->forget(buffer);
    };
    events.process = [](void* self) { static_cast<CameraStream*>(self)->processBuffers(); };
    return events;
}();

CameraStream::CameraStream(PipeWireConnection& connection, SerialQueue& queue,
                           CameraSession::FrameHandler onFrame)
    : connection_(connection), queue_(queue), onFrame_(std::move(onFrame)) {}

CameraStream::~CameraStream() {
    const auto held = connection_.lock();
    connection_.removeObserver(*this);
    if (!stream_) return;
    isLost_ = true;  // so that destroying the stream is not reported as a loss
    pw_stream_destroy(stream_);
}

Result<std::shared_ptr<CameraStream>> CameraStream::open(PipeWireConnection& connection,
                                                         const MediaNode& node, SerialQueue& queue,
                                                         CameraSession::FrameHandler onFrame) {
    const auto format = chooseFormat(CameraFormatQuery(connection, node.id).answer());
    if (!format) return failure("the camera has no format that can be used");
    std::shared_ptr<CameraStream> stream(new CameraStream(connection, queue, std::move(onFrame)));
    if (auto connected = stream->start(node, *format); !connected) return std::unexpected(connected.error());
    return stream;
}

Result<void> CameraStream::start(const MediaNode& node, const CameraFormat& format) {
    if (auto connected = connect(node, format); !connected) return connected;
    if (!settled_.try_acquire_for(kStartTimeout)) return failure("the camera does not answer");
    const auto held = connection_.lock();
    if (isLost_) return failure(error_.empty() ? "the camera refused" : error_);
    return {};
}

Result<void> CameraStream::connect(const MediaNode& node, const CameraFormat& format) {
    const auto held = connection_.lock();
    connection_.addObserver(*this);
    if (!connection_.core()) return failure("there is no media server");
    auto* properties = pw_properties_new(
        PW_KEY_MEDIA_TYPE, "Video", PW_KEY_MEDIA_CATEGORY, "Capture", PW_KEY_MEDIA_ROLE, "Camera",
        PW_KEY_TARGET_OBJECT, std::to_string(node.serial).c_str(), PW_KEY_NODE_NAME, "kasto.camera",
        PW_KEY_APP_NAME, "kasto", PW_KEY_APP_ID, "app.tolvane.kasto.camera", nullptr);
    stream_ = pw_stream_new(connection_.core(), "kasto camera", properties);
    if (!stream_) return failure("the camera's stream cannot be made");
    pw_stream_add_listener(stream_, &listener_, &kEvents, this);

    std::array<std::uint8_t, 1024> memory{};
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory.data(), memory.size());
    const auto* wanted = buildFormat(builder, format);
    // Without DONT_RECONNECT the session manager would replace an unplugged camera by another one.
    const auto flags = static_cast<pw_stream_flags>(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS |
                                                    PW_STREAM_FLAG_DONT_RECONNECT);
    if (const int error = pw_stream_connect(stream_, PW_DIRECTION_INPUT, PW_ID_ANY, flags, &wanted, 1);
        error < 0)
        return std::unexpected(systemError("the camera cannot be connected", -error));
    return {};
}

void CameraStream::stateChanged(pw_stream_state state, const char* error) {
    if (state == PW_STREAM_STATE_STREAMING) {
        isStreaming_ = true;
        settle();
    } else if (state == PW_STREAM_STATE_ERROR || state == PW_STREAM_STATE_UNCONNECTED) {
        if (error) error_ = error;
        lose();
    }
}

void CameraStream::lose() {
    if (isLost_.exchange(true)) return;
    settle();
    if (!isStreaming_) return;
    queue_.async([weak = weak_from_this()] {
        if (const auto alive = weak.lock()) alive->onFrame_({});
    });
}

void CameraStream::settle() {
    if (!std::exchange(isSettled_, true)) settled_.release();
}

void CameraStream::serverGone() {
    lose();
    if (stream_) pw_stream_destroy(stream_);
}

void CameraStream::formatChanged(const spa_pod* parameter) {
    if (!parameter) return;
    const auto format = agreedFormat(*parameter);
    {
        const std::scoped_lock held(memory_);
        pictures_.reset();
        if (format) pictures_.emplace(*format);
    }
    if (!format) {
        pw_stream_set_error(stream_, -EINVAL, "a format nobody asked for");
        return;
    }
    std::array<std::uint8_t, 1024> memory{};
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory.data(), memory.size());
    constexpr int kMapped = (1 << SPA_DATA_MemFd) | (1 << SPA_DATA_MemPtr);
    const std::array parameters{static_cast<const spa_pod*>(spa_pod_builder_add_object(
        &builder, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers, SPA_PARAM_BUFFERS_buffers,
        SPA_POD_CHOICE_RANGE_Int(4, 2, 16), SPA_PARAM_BUFFERS_dataType, SPA_POD_CHOICE_FLAGS_Int(kMapped)))};
    pw_stream_update_params(stream_, const_cast<const spa_pod**>(parameters.data()), parameters.size());
}

void CameraStream::processBuffers() {
    pw_buffer* newest = nullptr;
    while (auto* buffer = pw_stream_dequeue_buffer(stream_)) {
        if (newest) pw_stream_queue_buffer(stream_, newest);
        newest = buffer;
    }
    if (!newest) return;
    auto* unused = slots_.with([&](Slots& slots) { return std::exchange(slots.newest, newest); });
    if (unused) {
        pw_stream_queue_buffer(stream_, unused);
        return;  // a job to convert the newest buffer is queued already
    }
    queue_.async([weak = weak_from_this()] {
        if (const auto alive = weak.lock()) alive->deliver();
    });
}

void CameraStream::forget(pw_buffer* buffer) {
    const std::scoped_lock held(memory_);
    slots_.with([&](Slots& slots) {
        if (slots.newest == buffer) slots.newest = nullptr;
        if (slots.taken == buffer) slots.taken = nullptr;
    });
}

void CameraStream::deliver() {
    PixelBufferRef picture;
    {
        const std::scoped_lock held(memory_);
        const auto* taken =
            slots_.with([](Slots& slots) { return slots.taken = std::exchange(slots.newest, nullptr); });
        if (!taken) return;
        if (pictures_) picture = pictures_->convert(*taken->buffer);
    }
    {
        const auto held = connection_.lock();
        if (auto* taken = slots_.with([](Slots& slots) { return std::exchange(slots.taken, nullptr); });
            taken && stream_)
            pw_stream_queue_buffer(stream_, taken);
    }
    if (!picture || isLost_) return;
    hasDelivered_ = true;
    onFrame_(std::move(picture));
}

}  // namespace kasto::pipewire
