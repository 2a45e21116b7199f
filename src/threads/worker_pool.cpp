#include "threads/worker_pool.h"

#include <utility>

worker_pool::~worker_pool() {
    for (std::jthread& thread : threads_) thread.request_stop();
}

void worker_pool::start(std::size_t n) {
    threads_.reserve(n);
    while (size() < n) {
        const std::size_t worker = size();
        threads_.emplace_back([this, worker](const std::stop_token& stop) { serve(stop, worker); });
    }
}

void worker_pool::run_first(std::unique_lock<std::mutex>& lock, std::size_t worker) {
    const ticket one = std::move(queue_.front());
    queue_.pop_front();
    lock.unlock();
    try {
        one->work(worker);
    } catch (...) {
        one->failure = std::current_exception();
    }
    one->work = nullptr;  // what it held goes now
    lock.lock();
    one->done = true;
    finished_.notify_all();
}

void worker_pool::serve(const std::stop_token& stop, std::size_t worker) {
    std::unique_lock lock(mutex_);
    while (submitted_.wait(lock, stop, [this] { return !queue_.empty(); })) run_first(lock, worker);
}

worker_pool::ticket worker_pool::submit(job work) {
    auto one = std::make_shared<task>();
    one->work = std::move(work);
    std::unique_lock lock(mutex_);
    queue_.push_back(one);
    if (threads_.empty()) {
        run_first(lock, 0);
    } else {
        submitted_.notify_one();
    }
    return one;
}

void worker_pool::wait(const ticket& one) {
    std::unique_lock lock(mutex_);
    while (!one->done) {
        if (queue_.empty()) {
            finished_.wait(lock);
        } else {
            run_first(lock, 0);
        }
    }
}
