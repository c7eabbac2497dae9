#pragma once

#include <functional>
#include <memory>
#include <string>

namespace kasto {

enum class QueuePriority {
    userInteractive,  // frames, sound, input: runs ahead of other work if the system allows it
    utility,          // file work that can wait
};

// A repeating timer of a queue. Destroying it cancels it: no call begins after that. A call that has begun
// may still be running on the queue; SerialQueue::drain() waits for it.
class QueueTimer {
public:
    virtual ~QueueTimer() = default;
};

// Runs jobs one after the other, in the order in which they were queued, on a thread of its own.
//
// Any thread may call any operation, except that the queue's own thread must not call drain(). Destruction
// cancels the timers, runs the jobs that are already queued, and joins the thread.
class SerialQueue {
public:
    using Job = std::move_only_function<void()>;

    // `label` names the thread; see nameThread().
    SerialQueue(std::string label, QueuePriority priority);
    ~SerialQueue();
    SerialQueue(const SerialQueue&) = delete;
    SerialQueue& operator=(const SerialQueue&) = delete;

    // Queues the job and returns at once.
    void async(Job job);

    // Returns when every job that was queued before this call, and a timer call that had begun, has ended.
    void drain();

    // Calls `handler` on the queue `firstDelayS` seconds from now and then every `intervalS` seconds. The due
    // times are absolute, so they do not drift: a late call does not delay the ones after it, and due times
    // that were missed are skipped. A call may come up to `leewayS` late to share a wake-up with another
    // timer.
    [[nodiscard]] std::unique_ptr<QueueTimer> startTimer(double firstDelayS, double intervalS, double leewayS,
                                                         Job handler);

private:
    class Worker;
    std::shared_ptr<Worker> worker_;
};

}  // namespace kasto
