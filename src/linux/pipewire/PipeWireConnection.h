#pragma once

#include "base/FileDescriptor.h"
#include "linux/pipewire/MediaNode.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>

struct pw_core;
struct pw_loop;
struct pw_registry;

namespace kasto::pipewire {

// Learns of changes of a PipeWireConnection, on the connection's thread.
class PipeWireObserver {
public:
    virtual ~PipeWireObserver() = default;

    // Nodes appeared or disappeared, a default device changed, or the server was reached.
    virtual void mediaChanged() = 0;

    // The connection to the server is lost: proxies and streams made from its core must be destroyed before
    // this returns.
    virtual void serverGone() = 0;
};

// A connection to a PipeWire server, with a thread of its own. It connects when its lock is first taken,
// without waiting for the server's answers; its threads inherit the priority of the thread that does so.
// While there is no server it tries again every second. Reaching and losing the server is logged.
//
// Construction, destruction and lock(): any thread. Everything else: with the lock held, or on the
// connection's thread, which holds the lock in all callbacks of the library and of observers.
class PipeWireConnection {
public:
    // Connects to the server of the user's session, which the environment names.
    PipeWireConnection();

    // Connects over descriptors that the camera portal opens. `ask` is called whenever one is needed, on the
    // connection's thread or on the thread that takes the lock first; connectOver() may follow at any later
    // time, or never.
    explicit PipeWireConnection(std::function<void()> ask);

    // All observers must have been removed.
    ~PipeWireConnection();
    PipeWireConnection(const PipeWireConnection&) = delete;
    PipeWireConnection& operator=(const PipeWireConnection&) = delete;

    // Stops the connection's thread from running callbacks while it exists. A thread may take it repeatedly.
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

    // An observer is not told the present state when it is added; it asks for it.
    void addObserver(PipeWireObserver& observer);
    void removeObserver(PipeWireObserver& observer);

    // Connects over this open descriptor, unless there is a connection already.
    void connectOver(FileDescriptor server);

    // Calls `tell` once, on the connection's thread, when the server's nodes are known. That is soon if they
    // are known already or there is no server. It is after three seconds if the server does not answer, or if
    // a server of the portal has shown no camera until then.
    void whenKnown(std::function<void()> tell);

    // Null if the system had no thread or descriptor left for it.
    pw_loop* loop() const;

    // Both null while there is no server.
    pw_core* core() const;
    pw_registry* registry() const;

    // The server's nodes by id; empty while there is no server.
    const std::map<std::uint32_t, MediaNode>& nodes() const;

    // The device that the session manager has chosen; null if it has chosen none or does not run.
    const MediaNode* defaultNode(MediaDefault which) const;

    // Asks for the default devices again. A server may lose a change that happens while they are being asked
    // for. Observers are told the answer.
    void rereadDefaults();

private:
    struct State;
    const std::unique_ptr<State> state_;
    mutable std::once_flag begun_;
};

}  // namespace kasto::pipewire
