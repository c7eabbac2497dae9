#include "base/SerialQueue.h"

#include "base/Thread.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace kasto {

using Clock = std::chrono::steady_clock;

namespace {

Clock::duration toDuration(double seconds) {
    return std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
}

struct TimerState {
    Clock::time_point start;
    double intervalS = 0;
    Clock::duration leeway{};
    SerialQueue::Job handler;
    std::int64_t fired = 0;
    Clock::time_point due;
    std::atomic<bool> cancelled = false;

    // Moves on to the first due time after `now`. It is counted from the start, so rounding does not add up.
    void advance(Clock::time_point now) {
        const double sinceStart = std::chrono::duration<double>(now - start).count();
        fired = std::max(fired + 1, static_cast<std::int64_t>(std::floor(sinceStart / intervalS)) + 1);
        due = start + toDuration(static_cast<double>(fired) * intervalS);
    }
};

}  // namespace

class SerialQueue::Worker {
public:
    Worker(std::string label, QueuePriority priority) {
        thread_ = std::thread([this, label = std::move(label), priority] {
            nameThread(label);
            setThreadPriority(priority == QueuePriority::utility ? ThreadPriority::utility
                                                                 : ThreadPriority::userInteractive);
            run();
        });
    }

    void async(Job job) {
        {
            const std::scoped_lock held(mutex_);
            jobs_.push_back(std::move(job));
        }
        wake_.notify_one();
    }

    void add(std::shared_ptr<TimerState> timer) {
        {
            const std::scoped_lock held(mutex_);
            timers_.push_back(std::move(timer));
        }
        wake_.notify_one();
    }

    void remove(const std::shared_ptr<TimerState>& timer) {
        timer->cancelled = true;
        const std::scoped_lock held(mutex_);
        std::erase(timers_, timer);
    }

    void stop() {
        {
            const std::scoped_lock held(mutex_);
            stopping_ = true;
            timers_.clear();
        }
        wake_.notify_one();
        thread_.join();
    }

private:
    void run() {
        std::unique_lock held(mutex_);
        while (true) {
            if (!jobs_.empty()) {
                Job job = std::move(jobs_.front());
                jobs_.pop_front();
                held.unlock();
                job();
                job = nullptr;
                held.lock();
                runDueTimers(held);
            } else if (stopping_) {
                return;
            } else if (timers_.empty()) {
                wake_.wait(held, [this] { return stopping_ || !jobs_.empty() || !timers_.empty(); });
            } else {
                wake_.wait_until(held, nextWake());
                runDueTimers(held);
            }
        }
    }

    // The latest due time that keeps every timer within its leeway.
    Clock::time_point nextWake() const {
        auto limit = Clock::time_point::max();
        for (const auto& timer : timers_) limit = std::min(limit, timer->due + timer->leeway);
        auto wake = Clock::time_point::min();
        for (const auto& timer : timers_)
            if (timer->due <= limit) wake = std::max(wake, timer->due);
        return wake;
    }

    void runDueTimers(std::unique_lock<std::mutex>& held) {
        if (timers_.empty()) return;
        const auto now = Clock::now();
        due_.clear();
        for (const auto& timer : timers_)
            if (timer->due <= now) due_.push_back(timer);
        std::ranges::stable_sort(due_, {}, [](const auto& timer) { return timer->due; });
        for (const auto& timer : due_) timer->advance(now);
        held.unlock();
        for (const auto& timer : due_)
            if (!timer->cancelled) timer->handler();
        due_.clear();
        held.lock();
    }

    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<Job> jobs_;
    std::vector<std::shared_ptr<TimerState>> timers_;
    std::vector<std::shared_ptr<TimerState>> due_;  // used on the worker's thread only
    bool stopping_ = false;
    std::thread thread_;
};

SerialQueue::SerialQueue(std::string label, QueuePriority priority)
    : worker_(std::make_shared<Worker>(std::move(label), priority)) {}

SerialQueue::~SerialQueue() { worker_->stop(); }

void SerialQueue::async(Job job) { worker_->async(std::move(job)); }

void SerialQueue::drain() {
    std::mutex mutex;
    std::condition_variable ended;
    bool done = false;
    async([&] {
        const std::scoped_lock held(mutex);
        done = true;
        ended.notify_one();
    });
    std::unique_lock held(mutex);
    ended.wait(held, [&] { return done; });
}

std::unique_ptr<QueueTimer> SerialQueue::startTimer(double firstDelayS, double intervalS, double leewayS,
                                                    Job handler) {
    class Timer : public QueueTimer {
    public:
        // Weak, because a timer may outlive its queue, which cancels it.
        Timer(std::weak_ptr<Worker> worker, std::shared_ptr<TimerState> state)
            : worker_(std::move(worker)), state_(std::move(state)) {}
        ~Timer() override {
            state_->cancelled = true;
            if (const auto worker = worker_.lock()) worker->remove(state_);
        }

    private:
        std::weak_ptr<Worker> worker_;
        std::shared_ptr<TimerState> state_;
    };

    auto state = std::make_shared<TimerState>();
    state->start = Clock::now() + toDuration(firstDelayS);
    state->due = state->start;
    state->intervalS = intervalS;
    state->leeway = toDuration(leewayS);
    state->handler = std::move(handler);
    worker_->add(state);
    return std::make_unique<Timer>(worker_, std::move(state));
}

}  // namespace kasto
