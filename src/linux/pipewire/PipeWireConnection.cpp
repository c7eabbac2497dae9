#include "linux/pipewire/PipeWireConnection.h"

#include "base/Result.h"
#include "base/log/DebugLog.h"
#include "linux/pipewire/LoopSource.h"
#include "linux/pipewire/MediaRegistry.h"

#include <pipewire/pipewire.h>

#include <algorithm>
#include <cerrno>
#include <utility>
#include <vector>

namespace kasto::pipewire {

namespace {

constexpr std::time_t kRetryS = 1;
// After this many retries a server that does not show its nodes counts as having none.
constexpr int kMaxUnknownRetries = 3;

template <auto destroy>
struct Deleter {
    template <class T>
    void operator()(T* object) const {
        destroy(object);
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
    void mediaChanged();
    void tellKnownIfKnown();
    void tellKnown();
    void tryAgain();
    void failed(std::uint32_t id, int error);

    static const pw_core_events kCoreEvents;

    const std::function<void()> ask;  // for a descriptor; empty if the environment names the server
    std::unique_ptr<pw_thread_loop, Deleter<pw_thread_loop_destroy>> thread;
    pw_loop* loop = nullptr;
    std::unique_ptr<pw_context, Deleter<pw_context_destroy>> context;
    LoopSource lost;
    LoopSource retry;
    LoopSource known;
    pw_core* core = nullptr;
    spa_hook coreListener{};
    MediaRegistry registry{[this] { mediaChanged(); }};
    std::vector<PipeWireObserver*> observers;
    bool isBegun = false;
    bool saidUnreachable = false;

    // See whenKnown().
    std::vector<std::function<void()>> toldWhenKnown;
    bool isKnown = false;
    bool isAnswered = false;  // the server has sent its nodes
    int knownSequence = 0;    // of the request whose answer comes after the nodes
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

void PipeWireConnection::State::begin() {
    pw_init(nullptr, nullptr);
    isBegun = true;
    thread.reset(pw_thread_loop_new("pipewire", nullptr));
    if (!thread) return;
    auto* threadLoop = pw_thread_loop_get_loop(thread.get());
    // This configuration gives the library's data thread the realtime priority that sound needs.
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
    registry.watch(core);
    knownSequence = pw_core_sync(core, PW_ID_CORE, 0);
    DebugLog::log(ask ? "media server of the camera portal reached" : "media server reached");
    mediaChanged();
}

void PipeWireConnection::State::answered(std::uint32_t id, int sequence) {
    if (id != PW_ID_CORE || sequence != knownSequence) return;
    isAnswered = true;
    tellKnownIfKnown();
}

void PipeWireConnection::State::mediaChanged() {
    for (auto* observer : std::vector(observers)) observer->mediaChanged();
    tellKnownIfKnown();
}

// A server of the portal shows its cameras only after the session manager has noticed the new client, which
// may be after its first answer. So an answer without a camera does not count there.
void PipeWireConnection::State::tellKnownIfKnown() {
    const auto isCamera = [](const auto& node) { return node.second.mediaClass == "Video/Source"; };
    if (!isKnown && isAnswered && (!ask || std::ranges::any_of(registry.nodes(), isCamera))) tellKnown();
}

void PipeWireConnection::State::tellKnown() {
    isKnown = true;
    for (const auto& tell : std::exchange(toldWhenKnown, {})) tell();
}

void PipeWireConnection::State::disconnect() {
    if (!core) return;
    for (auto* observer : std::vector(observers)) observer->serverGone();
    registry.forget();
    spa_hook_remove(&coreListener);
    pw_core_disconnect(std::exchange(core, nullptr));
    isKnown = false;
    isAnswered = false;
    unknownRetries = 0;
}

void PipeWireConnection::State::tryAgain() {
    if (!isKnown && ++unknownRetries == kMaxUnknownRetries) tellKnown();
    if (!core) connect();
}

void PipeWireConnection::State::failed(std::uint32_t id, int error) {
    // Other errors concern single objects, whose owners are told by their own callbacks.
    if (id != PW_ID_CORE || error != -EPIPE) return;
    DebugLog::log("media server gone");
    // The core must not be disconnected within its own callback.
    pw_loop_signal_event(loop, lost.get());
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

pw_registry* PipeWireConnection::registry() const { return state_->registry.proxy(); }

const std::map<std::uint32_t, MediaNode>& PipeWireConnection::nodes() const {
    return state_->registry.nodes();
}

const MediaNode* PipeWireConnection::defaultNode(MediaDefault which) const {
    return state_->registry.defaultNode(which);
}

void PipeWireConnection::rereadDefaults() { state_->registry.rereadDefaults(); }

}  // namespace kasto::pipewire
