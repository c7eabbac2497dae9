#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace kasto {

// A fixed set of threads that do one job together with the thread that asks for it, and sleep between jobs.
// One job at a time.
class WorkerPool {
public:
    using Job = void (*)(void* context, int worker);

    // `workers` in all, the asking thread included.
    explicit WorkerPool(int workers);
    ~WorkerPool();
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    int workers() const { return static_cast<int>(threads_.size()) + 1; }

    // Calls the job once for each of the first `workers` workers, 0 being the calling thread, and returns
    // when all of them are through.
    void run(int workers, Job job, void* context);

private:
    void work(int worker);

    std::mutex mutex_;
    std::condition_variable toDo_;
    std::condition_variable done_;
    Job job_ = nullptr;
    void* context_ = nullptr;
    int wanted_ = 0;      // workers that take part in this job
    int unfinished_ = 0;  // of the pool's own threads
    unsigned round_ = 0;
    bool ending_ = false;
    std::vector<std::thread> threads_;
};

}  // namespace kasto
