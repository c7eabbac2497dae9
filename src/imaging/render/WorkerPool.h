#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace kasto {

// A fixed set of threads that run one job together with the calling thread, and sleep between jobs. One job
// at a time. Jobs are plain functions, so that running one allocates nothing.
class WorkerPool {
public:
    using Job = void (*)(void* context, int worker);

    // `workers` counts the calling thread, so it starts one thread less.
    explicit WorkerPool(int workers);
    ~WorkerPool();
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    int workers() const { return static_cast<int>(threads_.size()) + 1; }

    // Calls job(context, worker) once for each of the first `workers` workers, worker 0 being the calling
    // thread, and returns when all calls have returned.
    void run(int workers, Job job, void* context);

private:
    void work(int worker);

    std::mutex mutex_;
    std::condition_variable toDo_;
    std::condition_variable done_;
    Job job_ = nullptr;
    void* context_ = nullptr;
    int taking_ = 0;      // workers that take part in this job
    int unfinished_ = 0;  // of the pool's own threads
    unsigned round_ = 0;
    bool ending_ = false;
    std::vector<std::thread> threads_;
};

}  // namespace kasto
