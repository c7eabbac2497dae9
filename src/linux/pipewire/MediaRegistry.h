#pragma once

#include "linux/pipewire/MediaNode.h"

#include <pipewire/extensions/metadata.h>
#include <pipewire/pipewire.h>

#include <cstdint>
#include <functional>
#include <map>
#include <string>

namespace kasto::pipewire {

// The nodes of one media server and the session manager's choice of default devices, kept up to date. Belongs
// to a PipeWireConnection; used with its lock held or on its thread.
class MediaRegistry {
public:
    // `onChange` is called after each change, on the connection's thread.
    explicit MediaRegistry(std::function<void()> onChange);
    ~MediaRegistry();
    MediaRegistry(const MediaRegistry&) = delete;
    MediaRegistry& operator=(const MediaRegistry&) = delete;

    // Begins to watch a server. The nodes arrive before the answer to the next pw_core_sync().
    void watch(pw_core* core);

    // Forgets everything; onChange is not called. To be called before the core is disconnected.
    void forget();

    // Binds the session manager's metadata anew; onChange is called for what it says.
    void rereadDefaults();

    pw_registry* proxy() const { return registry_; }
    const std::map<std::uint32_t, MediaNode>& nodes() const { return nodes_; }
    const MediaNode* defaultNode(MediaDefault which) const;

private:
    void globalAdded(std::uint32_t id, const char* type, const spa_dict& properties);
    void globalRemoved(std::uint32_t id);
    void defaultChanged(std::uint32_t subject, const char* key, const char* value);
    void releaseMetadata();
    static const pw_registry_events kRegistryEvents;
    static const pw_metadata_events kMetadataEvents;

    const std::function<void()> onChange_;
    pw_registry* registry_ = nullptr;
    spa_hook registryListener_{};
    pw_metadata* metadata_ = nullptr;
    spa_hook metadataListener_{};
    std::uint32_t metadataId_ = PW_ID_ANY;
    std::map<std::uint32_t, MediaNode> nodes_;
    std::map<MediaDefault, std::string> defaults_;  // the nodes' names
};

}  // namespace kasto::pipewire
