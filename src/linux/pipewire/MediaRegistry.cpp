#include "linux/pipewire/MediaRegistry.h"

#include "linux/pipewire/Properties.h"

#include <spa/utils/json.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>
#include <utility>

namespace kasto::pipewire {

namespace {

constexpr std::array<std::pair<std::string_view, MediaDefault>, 3> kDefaultKeys{{
    {"default.audio.sink", MediaDefault::audioSink},
    {"default.audio.source", MediaDefault::audioSource},
    {"default.video.source", MediaDefault::videoSource},
}};

MediaNode nodeOf(std::uint32_t id, const spa_dict& properties) {
    MediaNode node{.id = id,
                   .serial = numberOf(properties, PW_KEY_OBJECT_SERIAL, std::uint64_t{0}),
                   .name = std::string(textOf(properties, PW_KEY_NODE_NAME)),
                   .description = {},
                   .mediaClass = std::string(textOf(properties, PW_KEY_MEDIA_CLASS)),
                   .role = std::string(textOf(properties, PW_KEY_MEDIA_ROLE))};
    for (const auto* key : {PW_KEY_NODE_DESCRIPTION, PW_KEY_NODE_NICK, PW_KEY_NODE_NAME})
        if (node.description.empty()) node.description = textOf(properties, key);
    return node;
}

// The value of "name" in a JSON object; empty if there is none.
std::string nameIn(const char* json) {
    spa_json text{};
    spa_json object{};
    spa_json_init(&text, json, std::strlen(json));
    if (spa_json_enter_object(&text, &object) <= 0) return {};
    std::array<char, 64> key{};
    std::array<char, 1024> value{};
    while (spa_json_get_string(&object, key.data(), key.size()) > 0) {
        if (spa_json_get_string(&object, value.data(), value.size()) <= 0) return {};
        if (std::string_view(key.data()) == "name") return value.data();
    }
    return {};
}

}  // namespace

const pw_registry_events MediaRegistry::kRegistryEvents = [] {
    pw_registry_events events{};
    events.version = PW_VERSION_REGISTRY_EVENTS;
    events.global = [](void* self, std::uint32_t id, std::uint32_t, const char* type, std::uint32_t,
                       const spa_dict* properties) {
        if (properties) static_cast<MediaRegistry*>(self)->globalAdded(id, type, *properties);
    };
    events.global_remove = [](void* self, std::uint32_t id) {
        static_cast<MediaRegistry*>(self)->globalRemoved(id);
    };
    return events;
}();

const pw_metadata_events MediaRegistry::kMetadataEvents = [] {
    pw_metadata_events events{};
    events.version = PW_VERSION_METADATA_EVENTS;
    events.property = [](void* self, std::uint32_t subject, const char* key, const char*, const char* value) {
        static_cast<MediaRegistry*>(self)->defaultChanged(subject, key, value);
        return 0;
    };
    return events;
}();

MediaRegistry::MediaRegistry(std::function<void()> onChange) : onChange_(std::move(onChange)) {}

MediaRegistry::~MediaRegistry() { forget(); }

void MediaRegistry::watch(pw_core* core) {
    registry_ = pw_core_get_registry(core, PW_VERSION_REGISTRY, 0);
    if (registry_) pw_registry_add_listener(registry_, &registryListener_, &kRegistryEvents, this);
}

void MediaRegistry::forget() {
    releaseMetadata();
    metadataId_ = PW_ID_ANY;
    if (registry_) {
        spa_hook_remove(&registryListener_);
        pw_proxy_destroy(reinterpret_cast<pw_proxy*>(std::exchange(registry_, nullptr)));
    }
    nodes_.clear();
    defaults_.clear();
}

void MediaRegistry::releaseMetadata() {
    if (!metadata_) return;
    spa_hook_remove(&metadataListener_);
    pw_proxy_destroy(reinterpret_cast<pw_proxy*>(std::exchange(metadata_, nullptr)));
}

void MediaRegistry::globalAdded(std::uint32_t id, const char* type, const spa_dict& properties) {
    const std::string_view kind = type;
    if (kind == PW_TYPE_INTERFACE_Node) {
        nodes_[id] = nodeOf(id, properties);
        onChange_();
    } else if (kind == PW_TYPE_INTERFACE_Metadata && metadataId_ == PW_ID_ANY &&
               textOf(properties, PW_KEY_METADATA_NAME) == "default") {
        metadataId_ = id;
        rereadDefaults();
    }
}

void MediaRegistry::rereadDefaults() {
    releaseMetadata();
    if (metadataId_ == PW_ID_ANY || !registry_) return;
    metadata_ = static_cast<pw_metadata*>(
        pw_registry_bind(registry_, metadataId_, PW_TYPE_INTERFACE_Metadata, PW_VERSION_METADATA, 0));
    if (metadata_) pw_metadata_add_listener(metadata_, &metadataListener_, &kMetadataEvents, this);
}

void MediaRegistry::globalRemoved(std::uint32_t id) {
    if (id == metadataId_) {
        // The session manager ended; its choices are no longer valid.
        releaseMetadata();
        metadataId_ = PW_ID_ANY;
        defaults_.clear();
        onChange_();
    } else if (nodes_.erase(id) > 0) {
        onChange_();
    }
}

void MediaRegistry::defaultChanged(std::uint32_t subject, const char* key, const char* value) {
    if (subject != PW_ID_CORE) return;
    if (!key) defaults_.clear();
    for (const auto& [name, which] : kDefaultKeys)
        if (key && name == key) defaults_[which] = value ? nameIn(value) : "";
    onChange_();
}

const MediaNode* MediaRegistry::defaultNode(MediaDefault which) const {
    const auto name = defaults_.find(which);
    if (name == defaults_.end() || name->second.empty()) return nullptr;
    const auto node =
        std::ranges::find_if(nodes_, [&](const auto& entry) { return entry.second.name == name->second; });
    return node == nodes_.end() ? nullptr : &node->second;
}

}  // namespace kasto::pipewire
