#include "linux/pipewire/camera/CameraFormatQuery.h"

#include <chrono>
#include <utility>

namespace kasto::pipewire {

namespace {

constexpr std::chrono::seconds kAnswerTimeout(1);  // a working server answers in milliseconds

}  // namespace

CameraFormatQuery::CameraFormatQuery(PipeWireConnection& connection, std::uint32_t nodeId)
    : connection_(connection) {
    const auto held = connection_.lock();
    connection_.addObserver(*this);
    if (connection_.core()) ask(nodeId);
    if (!node_) finish();
}

CameraFormatQuery::~CameraFormatQuery() {
    const auto held = connection_.lock();
    connection_.removeObserver(*this);
    release();
}

void CameraFormatQuery::ask(std::uint32_t nodeId) {
    node_ = static_cast<pw_node*>(
        pw_registry_bind(connection_.registry(), nodeId, PW_TYPE_INTERFACE_Node, PW_VERSION_NODE, 0));
    if (!node_) return;
    static const pw_node_events kNodeEvents = [] {
        pw_node_events events{};
        events.version = PW_VERSION_NODE_EVENTS;
        events.param = [](void* self, int, std::uint32_t, std::uint32_t, std::uint32_t,
                          const spa_pod* parameter) {
            if (parameter) addOffered(*parameter, static_cast<CameraFormatQuery*>(self)->formats_);
        };
        return events;
    }();
    static const pw_core_events kCoreEvents = [] {
        pw_core_events events{};
        events.version = PW_VERSION_CORE_EVENTS;
        // Answers come in the order of the requests, so the formats have arrived before this one.
        events.done = [](void* self, std::uint32_t id, int sequence) {
            auto& query = *static_cast<CameraFormatQuery*>(self);
            if (id == PW_ID_CORE && sequence == query.asked_) query.finish();
        };
        return events;
    }();
    pw_node_add_listener(node_, &nodeListener_, &kNodeEvents, this);
    pw_core_add_listener(connection_.core(), &coreListener_, &kCoreEvents, this);
    pw_node_enum_params(node_, 0, SPA_PARAM_EnumFormat, 0, UINT32_MAX, nullptr);
    asked_ = pw_core_sync(connection_.core(), PW_ID_CORE, 0);
}

std::vector<CameraFormat> CameraFormatQuery::answer() {
    static_cast<void>(finished_.try_acquire_for(kAnswerTimeout));
    const auto held = connection_.lock();
    release();
    return std::move(formats_);
}

void CameraFormatQuery::release() {
    if (!node_) return;
    spa_hook_remove(&coreListener_);
    spa_hook_remove(&nodeListener_);
    pw_proxy_destroy(reinterpret_cast<pw_proxy*>(std::exchange(node_, nullptr)));
}

void CameraFormatQuery::finish() {
    if (!std::exchange(isFinished_, true)) finished_.release();
}

void CameraFormatQuery::serverGone() {
    release();
    finish();
}

}  // namespace kasto::pipewire
