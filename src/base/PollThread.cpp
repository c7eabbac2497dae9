#include "base/PollThread.h"

#include "base/Thread.h"

#include <poll.h>
#include <sys/eventfd.h>

#include <cerrno>
#include <utility>
#include <vector>

namespace kasto {

PollWaiter::Wake PollWaiter::wait(std::span<const int> fds, std::optional<int> timeoutMs) const {
    std::vector<pollfd> waits{{stopFd_, POLLIN, 0}};
    for (const int fd : fds) waits.push_back({fd, POLLIN, 0});
    int ready = 0;
    // A signal interrupts the wait; it then starts anew, so a time-out may come later than asked for.
    do ready = poll(waits.data(), waits.size(), timeoutMs.value_or(-1));
    while (ready < 0 && errno == EINTR);
    if (ready < 0 || waits[0].revents != 0) return Wake::stopped;
    return ready > 0 ? Wake::readable : Wake::timedOut;
}

Result<PollThread> PollThread::make() {
    FileDescriptor stop(eventfd(0, EFD_CLOEXEC));
    if (!stop) return std::unexpected(systemError("eventfd", errno));
    return PollThread(std::move(stop));
}

PollThread::~PollThread() {
    if (!thread_.joinable()) return;
    eventfd_write(stop_.get(), 1);
    thread_.join();
}

void PollThread::start(std::string label, Body body) {
    thread_ =
        std::thread([label = std::move(label), body = std::move(body), waiter = PollWaiter(stop_.get())] {
            nameThread(label);
            body(waiter);
        });
}

}  // namespace kasto
