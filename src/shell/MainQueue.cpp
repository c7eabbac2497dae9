#include "shell/MainQueue.h"

#include <QCoreApplication>
#include <QEvent>
#include <utility>

namespace kasto {

void MainQueue::async(Job job) {
    // Under the lock, so that no event is posted to a queue that was closed meanwhile.
    state_.with([&](State& state) {
        if (state.closed) return;
        state.jobs.push_back(std::move(job));
        if (state.jobs.size() == 1) QCoreApplication::postEvent(this, new QEvent(QEvent::User));
    });
}

void MainQueue::close() {
    std::deque<Job> dropped;
    state_.with([&](State& state) {
        state.closed = true;
        std::swap(dropped, state.jobs);
    });
    QCoreApplication::removePostedEvents(this);
}

void MainQueue::customEvent(QEvent*) {
    std::deque<Job> due;
    state_.with([&](State& state) { std::swap(due, state.jobs); });
    for (auto& job : due) job();
}

}  // namespace kasto
