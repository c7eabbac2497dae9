#include "linux/freedesktop/QuitSignals.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <QSocketNotifier>
#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <utility>

namespace kasto::freedesktop {

namespace {

constexpr std::array kSignals{SIGINT, SIGTERM, SIGHUP};

// A signal handler can do little more than write to a descriptor, and gets no argument to find it with.
std::atomic<int> wakeFd = -1;
static_assert(std::atomic<int>::is_always_lock_free);

// How often somebody has asked for the end. A SIGHUP often comes beside a SIGTERM and means the same.
std::atomic<int> requests = 0;

void wakeUp(int signal) {
    if (signal != SIGHUP) ++requests;
    const int errorBefore = errno;
    const std::uint64_t one = 1;
    // It fails only if the counter is full, and then the loop has been woken already.
    [[maybe_unused]] const auto written = write(wakeFd.load(), &one, sizeof one);
    errno = errorBefore;
}

}  // namespace

class QuitSignals::Wake {
public:
    Wake(int fd, std::function<void()> onQuit, std::function<void()> onInsist)
        : fd_(fd),
          notifier_(fd, QSocketNotifier::Read),
          onQuit_(std::move(onQuit)),
          onInsist_(std::move(onInsist)) {
        QObject::connect(&notifier_, &QSocketNotifier::activated, &notifier_, [this] {
            std::uint64_t count = 0;
            if (read(fd_, &count, sizeof count) == sizeof count) wake();
        });
        requests = 0;
        wakeFd = fd;
        struct sigaction action = {};
        action.sa_handler = wakeUp;
        action.sa_flags = SA_RESTART;
        for (std::size_t i = 0; i < kSignals.size(); ++i) sigaction(kSignals[i], &action, &former_[i]);
    }

    ~Wake() {
        for (std::size_t i = 0; i < kSignals.size(); ++i) sigaction(kSignals[i], &former_[i], nullptr);
        wakeFd = -1;
        close(fd_);
    }

private:
    void wake() {
        onQuit_();
        const int now = requests;
        if (now > std::max(1, std::exchange(heard_, now))) onInsist_();
    }

    const int fd_;
    QSocketNotifier notifier_;
    std::function<void()> onQuit_;
    std::function<void()> onInsist_;
    int heard_ = 0;  // of the requests
    std::array<struct sigaction, kSignals.size()> former_{};
};

QuitSignals::QuitSignals(std::unique_ptr<Wake> wake) : wake_(std::move(wake)) {}

QuitSignals::~QuitSignals() = default;

Result<std::unique_ptr<QuitSignals>> QuitSignals::install(std::function<void()> onQuit,
                                                          std::function<void()> onInsist) {
    const int fd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (fd < 0) return std::unexpected(systemError("eventfd", errno));
    return std::unique_ptr<QuitSignals>(
        new QuitSignals(std::make_unique<Wake>(fd, std::move(onQuit), std::move(onInsist))));
}

}  // namespace kasto::freedesktop
