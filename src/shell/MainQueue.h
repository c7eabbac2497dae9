#pragma once

#include "base/Guarded.h"

#include <QObject>
#include <deque>
#include <functional>

namespace kasto {

// Runs jobs on the thread it was made on, one after the other, from that thread's event loop.
//
// Any thread may call `async`; all else belongs to the maker's thread. Callbacks that come from other threads
// hold it weakly, so that one that comes too late does nothing.
class MainQueue final : private QObject {
public:
    using Job = std::move_only_function<void()>;

    MainQueue() = default;

    // Queues the job and returns at once. A closed queue drops it.
    void async(Job job);

    // Drops what is queued and all that follows.
    void close();

private:
    struct State {
        std::deque<Job> jobs;
        bool closed = false;
    };

    void customEvent(QEvent* event) override;

    Guarded<State> state_;
};

}  // namespace kasto
