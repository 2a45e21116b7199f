#pragma once

// Work that goes on beside the thread that asks for it. Results must not depend on who does what, and when: a job
// reads what nobody changes meanwhile, draws random numbers from a stream of its own at most, says nothing to the log,
// and writes to a place of its own. ordered_jobs is the way to use it.

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <stop_token>
#include <thread>
#include <vector>

class worker_pool {
  public:
    // worker: who does it, from 0 to before size(), so that he finds his workspace; 0 is the thread that asked.
    using job = std::function<void(std::size_t worker)>;

    worker_pool() = default;
    worker_pool(const worker_pool&) = delete;
    worker_pool& operator=(const worker_pool&) = delete;
    ~worker_pool();

    // Starts what is missing to n threads, the asking one included.
    void start(std::size_t n);
    std::size_t size() const { return threads_.size() + 1; }

  private:
    friend class ordered_jobs;
    struct task {
        job work;
        bool done = false;
        std::exception_ptr failure;
    };
    using ticket = std::shared_ptr<task>;

    // Jobs begin in the order in which they are submitted. A pool of one does them at once.
    ticket submit(job work);
    // Returns when it is done; until then works on what waits.
    void wait(const ticket& one);
    void run_first(std::unique_lock<std::mutex>& lock, std::size_t worker);
    void serve(const std::stop_token& stop, std::size_t worker);

    std::mutex mutex_;  // of the queue, and of what is done
    std::condition_variable_any submitted_, finished_;
    std::deque<ticket> queue_;
    std::vector<std::jthread> threads_;
};
