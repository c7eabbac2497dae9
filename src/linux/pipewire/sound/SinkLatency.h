#pragma once

#include <pipewire/pipewire.h>
#include <spa/param/latency-utils.h>

#include <cstdint>

namespace kasto::pipewire {

// The latency of a sink: how long after a sink got a sample it is heard, according to the latency that the
// sink's ports report. That is 0 for some virtual sinks, one quantum of the media server for a sound card,
// and a fifth of a second for wireless headphones. Made, used and destroyed with the connection's lock held;
// must be destroyed before the core is disconnected.
class SinkLatency {
public:
    // Begins to watch the ports of this node.
    SinkLatency(pw_core* core, std::uint32_t nodeId);
    ~SinkLatency();
    SinkLatency(const SinkLatency&) = delete;
    SinkLatency& operator=(const SinkLatency&) = delete;

    std::uint32_t nodeId() const { return nodeId_; }

    // The latency in seconds if a quantum of the server takes `quantumS` seconds; at most 1. It is 0 until
    // the sink has reported it, a few milliseconds after construction.
    double seconds(double quantumS) const;

private:
    void bindPort(std::uint32_t id, const spa_dict& properties);
    void forgetPort();

    const std::uint32_t nodeId_;
    pw_registry* registry_;
    spa_hook registryListener_{};
    std::uint32_t portId_ = PW_ID_ANY;
    pw_port* port_ = nullptr;
    spa_hook portListener_{};
    spa_latency_info reported_ = SPA_LATENCY_INFO(SPA_DIRECTION_INPUT);
};

}  // namespace kasto::pipewire
