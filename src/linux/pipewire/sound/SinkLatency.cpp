#include "linux/pipewire/sound/SinkLatency.h"

#include "base/MediaRates.h"
#include "linux/pipewire/Properties.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

namespace kasto::pipewire {

namespace {

constexpr double kMaxS = 1;  // a sink that reports more is wrong

}  // namespace

SinkLatency::SinkLatency(pw_core* core, std::uint32_t nodeId)
    : nodeId_(nodeId), registry_(pw_core_get_registry(core, PW_VERSION_REGISTRY, 0)) {
    static const pw_registry_events kEvents = [] {
        pw_registry_events events{};
        events.version = PW_VERSION_REGISTRY_EVENTS;
        events.global = [](void* self, std::uint32_t id, std::uint32_t, const char* type, std::uint32_t,
                           const spa_dict* properties) {
            if (properties && std::string_view(type) == PW_TYPE_INTERFACE_Port)
                static_cast<SinkLatency*>(self)->bindPort(id, *properties);
        };
        events.global_remove = [](void* self, std::uint32_t id) {
            auto& latency = *static_cast<SinkLatency*>(self);
            if (id == latency.portId_) latency.forgetPort();
        };
        return events;
    }();
    if (registry_) pw_registry_add_listener(registry_, &registryListener_, &kEvents, this);
}

SinkLatency::~SinkLatency() {
    forgetPort();
    if (!registry_) return;
    spa_hook_remove(&registryListener_);
    pw_proxy_destroy(reinterpret_cast<pw_proxy*>(registry_));
}

// All channels of a sink have the same latency, so the first port is enough.
void SinkLatency::bindPort(std::uint32_t id, const spa_dict& properties) {
    if (port_ || textOf(properties, PW_KEY_NODE_ID) != std::to_string(nodeId_) ||
        textOf(properties, PW_KEY_PORT_DIRECTION) != "in")
        return;
    port_ =
        static_cast<pw_port*>(pw_registry_bind(registry_, id, PW_TYPE_INTERFACE_Port, PW_VERSION_PORT, 0));
    if (!port_) return;
    portId_ = id;
    static const pw_port_events kEvents = [] {
        pw_port_events events{};
        events.version = PW_VERSION_PORT_EVENTS;
        events.param = [](void* self, int, std::uint32_t, std::uint32_t, std::uint32_t,
                          const spa_pod* parameter) {
            spa_latency_info reported{};
            if (parameter && spa_latency_parse(parameter, &reported) >= 0 &&
                reported.direction == SPA_DIRECTION_INPUT)
                static_cast<SinkLatency*>(self)->reported_ = reported;
        };
        return events;
    }();
    pw_port_add_listener(port_, &portListener_, &kEvents, this);
    std::uint32_t wanted = SPA_PARAM_Latency;
    pw_port_subscribe_params(port_, &wanted, 1);
}

void SinkLatency::forgetPort() {
    if (!port_) return;
    spa_hook_remove(&portListener_);
    pw_proxy_destroy(reinterpret_cast<pw_proxy*>(std::exchange(port_, nullptr)));
    portId_ = PW_ID_ANY;
}

double SinkLatency::seconds(double quantumS) const {
    const double quanta = (reported_.min_quantum + reported_.max_quantum) / 2.0;
    const double frames = (reported_.min_rate + reported_.max_rate) / 2.0;
    const double ns = (static_cast<double>(reported_.min_ns) + static_cast<double>(reported_.max_ns)) / 2;
    return std::clamp(quanta * quantumS + frames / kSoundRate + ns / SPA_NSEC_PER_SEC, 0.0, kMaxS);
}

}  // namespace kasto::pipewire
