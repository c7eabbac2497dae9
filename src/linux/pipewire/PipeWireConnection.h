#pragma once

#include "base/FileDescriptor.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>

struct pw_core;
struct pw_loop;
struct pw_registry;

namespace kasto::pipewire {

// A device or a stream of the media server, as it announces itself.
struct MediaNode {
    std::uint32_t id = 0;      // while it is there
    std::uint64_t serial = 0;  // never used again
    std::string name;          // the same whenever it is plugged into the same place
    std::string description;   // for people; the name where it has none
    std::string mediaClass;    // "Audio/Sink", "Video/Source", …
    std::string role;
};

enum class MediaDefault { audioSink, audioSource, videoSource };

// Told on the connection's thread.
class PipeWireObserver {
public:
    virtual ~PipeWireObserver() = default;

    // Nodes came or went, a default changed, or the server was reached: the connection knows what there is.
    virtual void mediaChanged() = 0;

    // The server is gone: proxies and streams made from its core must be destroyed before this returns.
    virtual void serverGone() = 0;
};

// A connection to the PipeWire server of the user's session, with a thread of its own. It connects when its
// lock is first taken, without waiting for the server's answers; its threads get the priority of the thread
// that does. Without a server it tries again every second, also after the server went; what happens to it is
// logged.
//
// Construction, destruction and lock(): any thread. Everything else: with the lock held, or on the
// connection's thread (in callbacks of the library and of observers), which holds it.
class PipeWireConnection {
public:
    // To the server that the environment names.
    PipeWireConnection();

    // To servers that somebody else opens for their cameras. `ask` is called on the connection's thread, or
    // the one that takes its lock first, where a server is to be opened: soon after, or never, connectOver()
    // follows.
    explicit PipeWireConnection(std::function<void()> ask);
    ~PipeWireConnection();  // when no observer is left
    PipeWireConnection(const PipeWireConnection&) = delete;
    PipeWireConnection& operator=(const PipeWireConnection&) = delete;

    // Keeps the connection's thread out while it lives. May be taken again by a thread that has it.
    class Lock {
    public:
        explicit Lock(const PipeWireConnection& connection);
        ~Lock();
        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;

    private:
        const PipeWireConnection& connection_;
    };
    [[nodiscard]] Lock lock() const { return Lock(*this); }

    // Observers ask for the present state themselves when they are added.
    void addObserver(PipeWireObserver& observer);
    void removeObserver(PipeWireObserver& observer);

    // Uses this open connection to a server, unless there is one already.
    void connectOver(FileDescriptor server);

    // Calls `tell` once, on the connection's thread, when it is known what there is: soon, if that is known
    // or there is no server; in a few seconds, if none answers, or one that was asked for shows no
    // camera.
    void whenKnown(std::function<void()> tell);

    // None if the system has no thread or descriptor left for it.
    pw_loop* loop() const;

    // Both none while there is no server.
    pw_core* core() const;
    pw_registry* registry() const;

    // What there is now, by id; empty while there is no server.
    const std::map<std::uint32_t, MediaNode>& nodes() const;

    // What the session manager has chosen, if that is there.
    const MediaNode* defaultNode(MediaDefault which) const;

    // Asks for the session manager's choices again: a server has been seen to lose a change that came while
    // they were being asked for. Observers are told what comes.
    void rereadDefaults();

private:
    struct State;
    const std::unique_ptr<State> state_;
    mutable std::once_flag begun_;
};

}  // namespace kasto::pipewire
