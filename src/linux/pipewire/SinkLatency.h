#pragma once

#include <pipewire/pipewire.h>
#include <spa/param/latency-utils.h>

#include <cstdint>

namespace kasto::pipewire {

// How long after it was handed to speakers sound is heard, as the speakers tell: nothing for some that are
// made of software, a round of the media server for a sound card, a fifth of a second for wireless
// headphones. Made, used and destroyed with the connection's lock held, and before the core goes.
class SinkLatency {
public:
    // Begins to watch this node.
    SinkLatency(pw_core* core, std::uint32_t nodeId);
    ~SinkLatency();
    SinkLatency(const SinkLatency&) = delete;
    SinkLatency& operator=(const SinkLatency&) = delete;

    std::uint32_t nodeId() const { return nodeId_; }

    // With rounds that take so long. Nothing until the speakers have told, which takes them a few
    // milliseconds.
    double seconds(double roundS) const;

private:
    void bindPort(std::uint32_t id, const spa_dict& properties);
    void forgetPort();

    const std::uint32_t nodeId_;
    pw_registry* registry_;
    spa_hook registryListener_{};
    std::uint32_t portId_ = PW_ID_ANY;
    pw_port* port_ = nullptr;
    spa_hook portListener_{};
    spa_latency_info told_ = SPA_LATENCY_INFO(SPA_DIRECTION_INPUT);
};

}  // namespace kasto::pipewire
