#pragma once

#include <functional>
#include <memory>
#include <string>

namespace kasto {

enum class QueuePriority {
    userInteractive,  // frames, sound, input: runs ahead of other work where the system lets it
    utility,          // file work that nobody waits for
};

// A repeating timer of a queue. Destroying it cancels it: no call begins after that, though one may still
// be under way on the queue (`SerialQueue::drain` waits for it).
class QueueTimer {
public:
    virtual ~QueueTimer() = default;
};

// Runs jobs one after the other, in the order given, on a thread of its own.
//
// Any thread may call any operation, the queue's own thread all but `drain`. Destruction cancels the timers,
// runs the jobs that are already queued, and joins the thread.
class SerialQueue {
public:
    using Job = std::move_only_function<void()>;

    // `label` names the thread, as far as the system keeps it (the last part, 15 characters).
    SerialQueue(std::string label, QueuePriority priority);
    ~SerialQueue();
    SerialQueue(const SerialQueue&) = delete;
    SerialQueue& operator=(const SerialQueue&) = delete;

    const std::string& label() const;

    // Queues the job and returns at once.
    void async(Job job);

    // Returns when every job queued before this call, and a timer call under way, has ended.
    void drain();

    // Calls `handler` on the queue `firstDelayS` seconds from now and then every `intervalS` seconds. The due
    // times are absolute, so they do not drift; a call that comes late delays none after it, and due times
    // missed meanwhile are skipped, not caught up. A call may come up to `leewayS` late to share a wake-up.
    [[nodiscard]] std::unique_ptr<QueueTimer> startTimer(double firstDelayS, double intervalS, double leewayS,
                                                         Job handler);

    // True on the queue's own thread.
    bool isCurrent() const;

private:
    class Worker;
    std::shared_ptr<Worker> worker_;
};

}  // namespace kasto
