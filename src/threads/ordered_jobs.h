#pragma once

// Jobs beside each other whose ends are taken in the order in which they were added.

#include <cstddef>
#include <deque>

#include "threads/worker_pool.h"

class ordered_jobs {
  public:
    explicit ordered_jobs(worker_pool& workers) : workers_(workers) {}
    ordered_jobs(const ordered_jobs&) = delete;
    ordered_jobs& operator=(const ordered_jobs&) = delete;
    // Waits for what goes on still, since that reads what its maker holds. What it threw is lost.
    ~ordered_jobs();

    void add(worker_pool::job work) { tickets_.push_back(workers_.submit(std::move(work))); }
    // Those that were not taken.
    std::size_t size() const { return tickets_.size(); }
    // Waits for the first one, helping meanwhile. Throws what it threw.
    void take_first();
    void take_all() {
        while (size() > 0) take_first();
    }

  private:
    worker_pool& workers_;
    std::deque<worker_pool::ticket> tickets_;
};
