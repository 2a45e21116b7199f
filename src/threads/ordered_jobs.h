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
    // Whether so many wait that nobody would be idle if the next one were added later.
    bool full() const { return size() >= (workers_.size() == 1 ? 1 : 2 * workers_.size()); }
    // Waits for the first one, helping meanwhile. Throws what it threw.
    void take_first();
    void take_all() {
        while (size() > 0) take_first();
    }

  private:
    worker_pool& workers_;
    std::deque<worker_pool::ticket> tickets_;
};

// make(worker, i, product) fills a new product beside the others, for i from 0 to n - 1; take(product) gets them in
// their order, on this thread. Throws what one of them throws.
template <typename Product, typename Make, typename Take>
void make_in_order(worker_pool& workers, std::size_t n, const Make& make, const Take& take) {
    std::deque<Product> products;
    ordered_jobs jobs(workers);
    const auto take_first = [&] {
        jobs.take_first();
        take(products.front());
        products.pop_front();
    };
    for (std::size_t i = 0; i < n; ++i) {
        if (jobs.full()) take_first();
        Product& product = products.emplace_back();
        jobs.add([&make, &product, i](std::size_t worker) { make(worker, i, product); });
    }
    while (jobs.size() > 0) take_first();
}
