#include "imaging/render/WorkerPool.h"

#include "base/Thread.h"

#include <algorithm>
#include <cstddef>

namespace kasto {

WorkerPool::WorkerPool(int workers) {
    threads_.reserve(static_cast<std::size_t>(std::max(workers - 1, 0)));
    for (int worker = 1; worker < workers; ++worker) threads_.emplace_back([this, worker] { work(worker); });
}

WorkerPool::~WorkerPool() {
    {
        const std::scoped_lock held(mutex_);
        ending_ = true;
    }
    toDo_.notify_all();
    for (auto& thread : threads_) thread.join();
}

void WorkerPool::run(int workers, Job job, void* context) {
    workers = std::clamp(workers, 1, this->workers());
    if (workers > 1) {
        {
            const std::scoped_lock held(mutex_);
            job_ = job;
            context_ = context;
            taking_ = workers;
            unfinished_ = workers - 1;
            ++round_;
        }
        toDo_.notify_all();
    }
    job(context, 0);
    if (workers > 1) {
        std::unique_lock lock(mutex_);
        done_.wait(lock, [this] { return unfinished_ == 0; });
    }
}

void WorkerPool::work(int worker) {
    nameThread("app.tolvane.kasto.strips");
    setThreadPriority(ThreadPriority::userInteractive);
    unsigned seen = 0;
    std::unique_lock lock(mutex_);
    while (true) {
        toDo_.wait(lock, [&] { return ending_ || round_ != seen; });
        if (ending_) return;
        seen = round_;
        if (worker >= taking_) continue;
        lock.unlock();
        job_(context_, worker);
        lock.lock();
        if (--unfinished_ == 0) done_.notify_one();
    }
}

}  // namespace kasto
