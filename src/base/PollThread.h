#pragma once

#include "base/FileDescriptor.h"
#include "base/Result.h"

#include <functional>
#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <thread>

namespace kasto {

// A thread that waits for file descriptors, and that its owner can end at any moment.
//
// The body is an ordinary loop around `PollWaiter::wait`:
//
//     while (waiter.wait({fd}) != PollWaiter::Wake::stopped) readAllFrom(fd);
//
// Destruction interrupts the wait with `stopped` and joins the thread. An owner declares its PollThread as
// the last member and starts it at the end of its constructor: the body may then use all the other members.

// What the body of a PollThread waits with. Used on that thread only.
class PollWaiter {
public:
    enum class Wake {
        readable,  // at least one descriptor can be read, or has failed
        timedOut,
        stopped,  // the thread is to end; every further wait returns this too
    };

    explicit PollWaiter(int stopFd) : stopFd_(stopFd) {}

    // Sleeps until one of the descriptors is readable or the time is over. Negative descriptors are left out.
    // Without a time-out it sleeps until one of the other reasons arises.
    Wake wait(std::span<const int> fds, std::optional<int> timeoutMs = std::nullopt) const;
    Wake wait(std::initializer_list<int> fds, std::optional<int> timeoutMs = std::nullopt) const {
        return wait(std::span(fds.begin(), fds.size()), timeoutMs);
    }

    // Sleeps without looking at any descriptor: `timedOut` or `stopped`.
    Wake pause(int durationMs) const { return wait(std::span<const int>(), durationMs); }

private:
    int stopFd_;
};

class PollThread {
public:
    using Body = std::function<void(const PollWaiter&)>;

    // Not started yet. An error when the system has no descriptor left.
    static Result<PollThread> make();
    ~PollThread();
    PollThread(PollThread&&) = default;
    PollThread& operator=(PollThread&&) = delete;

    // Runs the body on a new thread, whose name is made of `label` as `nameThread` does. Once.
    void start(std::string label, Body body);

private:
    explicit PollThread(FileDescriptor stop) : stop_(std::move(stop)) {}

    FileDescriptor stop_;  // an eventfd, readable from the moment the thread is to end
    std::thread thread_;
};

}  // namespace kasto
