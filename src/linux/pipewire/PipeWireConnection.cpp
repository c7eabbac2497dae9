#include "linux/pipewire/PipeWireConnection.h"

#include "base/DebugLog.h"
#include "base/Result.h"
#include "linux/pipewire/LoopSource.h"

#include <pipewire/extensions/metadata.h>
#include <pipewire/pipewire.h>
#include <spa/utils/json.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <string_view>
#include <utility>
#include <vector>

namespace kasto::pipewire {

namespace {

constexpr std::time_t kRetryS = 1;
constexpr int kMostUnknownRetries = 3;  // of a server that does not tell what there is

constexpr std::array<std::pair<std::string_view, MediaDefault>, 3> kDefaultKeys{{
    {"default.audio.sink", MediaDefault::audioSink},
    {"default.audio.source", MediaDefault::audioSource},
    {"default.video.source", MediaDefault::videoSource},
}};

std::string textOf(const spa_dict* properties, const char* key) {
    const char* value = properties ? spa_dict_lookup(properties, key) : nullptr;
    return value ? value : "";
}

MediaNode nodeOf(std::uint32_t id, const spa_dict* properties) {
    MediaNode node{.id = id,
                   .serial = 0,
                   .name = textOf(properties, PW_KEY_NODE_NAME),
                   .description = {},
                   .mediaClass = textOf(properties, PW_KEY_MEDIA_CLASS),
                   .role = textOf(properties, PW_KEY_MEDIA_ROLE)};
    const auto serial = textOf(properties, PW_KEY_OBJECT_SERIAL);
    std::from_chars(serial.data(), serial.data() + serial.size(), node.serial);
    for (const auto* key : {PW_KEY_NODE_DESCRIPTION, PW_KEY_NODE_NICK, PW_KEY_NODE_NAME})
        if (node.description.empty()) node.description = textOf(properties, key);
    return node;
}

// The "name" of a JSON object; empty if there is none.
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

template <auto destroy>
struct Deleter {
    template <class T>
    void operator()(T* object) const {
        destroy(object);
    }
};

// An object of the server's and the listener to it.
template <class T>
struct Bound {
    T* proxy = nullptr;
    spa_hook listener{};

    void release() {
        if (!proxy) return;
        spa_hook_remove(&listener);
        pw_proxy_destroy(reinterpret_cast<pw_proxy*>(std::exchange(proxy, nullptr)));
    }
};

}  // namespace

struct PipeWireConnection::State {
    explicit State(std::function<void()> askForServer) : ask(std::move(askForServer)) {}
    ~State();

    void begin();
    void connect();
    void reached(pw_core* server);
    void disconnect();
    void answered(std::uint32_t id, int sequence);
    void tellKnownIfItIs();
    void tellKnown();
    void tryAgain();  // the retry timer's

    void globalAdded(std::uint32_t id, const char* type, const spa_dict* properties);
    void globalRemoved(std::uint32_t id);
    void readDefaults();
    void defaultChanged(std::uint32_t subject, const char* key, const char* value);
    void failed(std::uint32_t id, int error);
    void tellChange() const;

    static const pw_core_events kCoreEvents;
    static const pw_registry_events kRegistryEvents;
    static const pw_metadata_events kMetadataEvents;

    const std::function<void()> ask;  // for a server; none where the environment names it
    std::unique_ptr<pw_thread_loop, Deleter<pw_thread_loop_destroy>> thread;
    pw_loop* loop = nullptr;
    std::unique_ptr<pw_context, Deleter<pw_context_destroy>> context;
    LoopSource lost;
    LoopSource retry;
    LoopSource known;
    pw_core* core = nullptr;
    spa_hook coreListener{};
    Bound<pw_registry> registry;
    Bound<pw_metadata> metadata;
    std::uint32_t metadataId = PW_ID_ANY;
    std::map<std::uint32_t, MediaNode> nodes;
    std::map<MediaDefault, std::string> defaults;  // by name
    std::vector<PipeWireObserver*> observers;
    bool isBegun = false;
    bool saidUnreachable = false;
    std::vector<std::function<void()>> toldWhenKnown;
    bool isKnown = false;
    int knownSequence = 0;  // of the answer after which the server has told what it shows
    bool isAnswered = false;
    int unknownRetries = 0;
};

const pw_core_events PipeWireConnection::State::kCoreEvents = [] {
    pw_core_events events{};
    events.version = PW_VERSION_CORE_EVENTS;
    events.done = [](void* self, std::uint32_t id, int sequence) {
        static_cast<State*>(self)->answered(id, sequence);
    };
    events.error = [](void* self, std::uint32_t id, int, int error, const char*) {
        static_cast<State*>(self)->failed(id, error);
    };
    return events;
}();

const pw_registry_events PipeWireConnection::State::kRegistryEvents = [] {
    pw_registry_events events{};
    events.version = PW_VERSION_REGISTRY_EVENTS;
    events.global = [](void* self, std::uint32_t id, std::uint32_t, const char* type, std::uint32_t,
                       const spa_dict* properties) {
        static_cast<State*>(self)->globalAdded(id, type, properties);
    };
    events.global_remove = [](void* self, std::uint32_t id) { static_cast<State*>(self)->globalRemoved(id); };
    return events;
}();

const pw_metadata_events PipeWireConnection::State::kMetadataEvents = [] {
    pw_metadata_events events{};
    events.version = PW_VERSION_METADATA_EVENTS;
    events.property = [](void* self, std::uint32_t subject, const char* key, const char*, const char* value) {
        static_cast<State*>(self)->defaultChanged(subject, key, value);
        return 0;
    };
    return events;
}();

void PipeWireConnection::State::begin() {
    pw_init(nullptr, nullptr);
    isBegun = true;
    thread.reset(pw_thread_loop_new("pipewire", nullptr));
    if (!thread) return;
    auto* threadLoop = pw_thread_loop_get_loop(thread.get());
    // That configuration gives the library's data thread the priority that sound needs.
    auto* properties = pw_properties_new(PW_KEY_CONFIG_NAME, "client-rt.conf", nullptr);
    context.reset(pw_context_new(threadLoop, properties, 0));
    if (!context || pw_thread_loop_start(thread.get()) < 0) return;
    loop = threadLoop;
    pw_thread_loop_lock(thread.get());
    lost = loopEvent<&State::disconnect>(loop, this);
    known = loopEvent<&State::tellKnown>(loop, this);
    retry = loopTimer<&State::tryAgain>(loop, this, kRetryS);
    connect();
    pw_thread_loop_unlock(thread.get());
}

PipeWireConnection::State::~State() {
    if (loop) {
        pw_thread_loop_lock(thread.get());
        retry.reset();
        known.reset();
        lost.reset();
        if (core) disconnect();
        pw_thread_loop_unlock(thread.get());
        pw_thread_loop_stop(thread.get());
    }
    context.reset();
    thread.reset();
    if (isBegun) pw_deinit();
}

void PipeWireConnection::State::connect() {
    if (ask) return ask();
    if (auto* server = pw_context_connect(context.get(), nullptr, 0)) return reached(server);
    if (!std::exchange(saidUnreachable, true))
        DebugLog::log(systemError("no media server, so no sound and no camera", errno).description);
    tellKnown();
}

void PipeWireConnection::State::reached(pw_core* server) {
    core = server;
    saidUnreachable = false;
    pw_core_add_listener(core, &coreListener, &kCoreEvents, this);
    registry.proxy = pw_core_get_registry(core, PW_VERSION_REGISTRY, 0);
    if (registry.proxy) pw_registry_add_listener(registry.proxy, &registry.listener, &kRegistryEvents, this);
    knownSequence = pw_core_sync(core, PW_ID_CORE, 0);
    DebugLog::log(ask ? "media server of the camera portal reached" : "media server reached");
    tellChange();
}

void PipeWireConnection::State::answered(std::uint32_t id, int sequence) {
    if (id != PW_ID_CORE || sequence != knownSequence) return;
    isAnswered = true;
    tellKnownIfItIs();
}

// A server that was asked for shows its cameras when the session manager has looked who has come.
void PipeWireConnection::State::tellKnownIfItIs() {
    const auto isCamera = [](const auto& node) { return node.second.mediaClass == "Video/Source"; };
    if (!isKnown && isAnswered && (!ask || std::ranges::any_of(nodes, isCamera))) tellKnown();
}

void PipeWireConnection::State::tellKnown() {
    isKnown = true;
    for (const auto& tell : std::exchange(toldWhenKnown, {})) tell();
}

void PipeWireConnection::State::disconnect() {
    if (!core) return;
    for (auto* observer : std::vector(observers)) observer->serverGone();
    metadata.release();
    registry.release();
    spa_hook_remove(&coreListener);
    pw_core_disconnect(std::exchange(core, nullptr));
    metadataId = PW_ID_ANY;
    isKnown = false;
    isAnswered = false;
    unknownRetries = 0;
    nodes.clear();
    defaults.clear();
}

void PipeWireConnection::State::tryAgain() {
    if (!isKnown && ++unknownRetries == kMostUnknownRetries) tellKnown();
    if (!core) connect();
}

void PipeWireConnection::State::globalAdded(std::uint32_t id, const char* type, const spa_dict* properties) {
    const std::string_view kind = type;
    if (kind == PW_TYPE_INTERFACE_Node) {
        nodes[id] = nodeOf(id, properties);
        tellChange();
        tellKnownIfItIs();
    } else if (kind == PW_TYPE_INTERFACE_Metadata && metadataId == PW_ID_ANY &&
               textOf(properties, PW_KEY_METADATA_NAME) == "default") {
        metadataId = id;
        readDefaults();
    }
}

void PipeWireConnection::State::readDefaults() {
    metadata.release();
    if (metadataId == PW_ID_ANY || !registry.proxy) return;
    metadata.proxy = static_cast<pw_metadata*>(
        pw_registry_bind(registry.proxy, metadataId, PW_TYPE_INTERFACE_Metadata, PW_VERSION_METADATA, 0));
    if (metadata.proxy) pw_metadata_add_listener(metadata.proxy, &metadata.listener, &kMetadataEvents, this);
}

void PipeWireConnection::State::globalRemoved(std::uint32_t id) {
    if (id == metadataId) {
        // The session manager is gone, and its choices with it.
        metadata.release();
        metadataId = PW_ID_ANY;
        defaults.clear();
        tellChange();
    } else if (nodes.erase(id) > 0) {
        tellChange();
    }
}

void PipeWireConnection::State::defaultChanged(std::uint32_t subject, const char* key, const char* value) {
    if (subject != PW_ID_CORE) return;
    if (!key) defaults.clear();
    for (const auto& [name, which] : kDefaultKeys)
        if (key && name == key) defaults[which] = value ? nameIn(value) : "";
    tellChange();
}

void PipeWireConnection::State::failed(std::uint32_t id, int error) {
    // Other errors are of single objects, whose owners see their end.
    if (id != PW_ID_CORE || error != -EPIPE) return;
    DebugLog::log("media server gone");
    // Not from within a callback of the core that goes.
    pw_loop_signal_event(loop, lost.get());
}

void PipeWireConnection::State::tellChange() const {
    for (auto* observer : std::vector(observers)) observer->mediaChanged();
}

PipeWireConnection::Lock::Lock(const PipeWireConnection& connection) : connection_(connection) {
    std::call_once(connection_.begun_, [this] { connection_.state_->begin(); });
    if (connection_.state_->thread) pw_thread_loop_lock(connection_.state_->thread.get());
}

PipeWireConnection::Lock::~Lock() {
    if (connection_.state_->thread) pw_thread_loop_unlock(connection_.state_->thread.get());
}

PipeWireConnection::PipeWireConnection() : PipeWireConnection(nullptr) {}

PipeWireConnection::PipeWireConnection(std::function<void()> ask)
    : state_(std::make_unique<State>(std::move(ask))) {}

PipeWireConnection::~PipeWireConnection() = default;

void PipeWireConnection::addObserver(PipeWireObserver& observer) { state_->observers.push_back(&observer); }

void PipeWireConnection::removeObserver(PipeWireObserver& observer) {
    std::erase(state_->observers, &observer);
}

void PipeWireConnection::connectOver(FileDescriptor server) {
    if (state_->core || !state_->context) return;
    if (auto* core = pw_context_connect_fd(state_->context.get(), server.release(), nullptr, 0))
        return state_->reached(core);
    DebugLog::log(systemError("no connection through the camera portal", errno).description);
}

void PipeWireConnection::whenKnown(std::function<void()> tell) {
    if (!state_->known) return tell();
    state_->toldWhenKnown.push_back(std::move(tell));
    if (state_->isKnown) pw_loop_signal_event(state_->loop, state_->known.get());
}

pw_loop* PipeWireConnection::loop() const { return state_->loop; }

pw_core* PipeWireConnection::core() const { return state_->core; }

pw_registry* PipeWireConnection::registry() const { return state_->registry.proxy; }

const std::map<std::uint32_t, MediaNode>& PipeWireConnection::nodes() const { return state_->nodes; }

const MediaNode* PipeWireConnection::defaultNode(MediaDefault which) const {
    const auto name = state_->defaults.find(which);
    if (name == state_->defaults.end() || name->second.empty()) return nullptr;
    const auto node = std::ranges::find_if(
        state_->nodes, [&](const auto& entry) { return entry.second.name == name->second; });
    return node == state_->nodes.end() ? nullptr : &node->second;
}

void PipeWireConnection::rereadDefaults() { state_->readDefaults(); }

}  // namespace kasto::pipewire
