#include "threads/ordered_jobs.h"

#include <utility>

ordered_jobs::~ordered_jobs() {
    for (const worker_pool::ticket& one : tickets_) workers_.wait(one);
}

void ordered_jobs::take_first() {
    const worker_pool::ticket first = std::move(tickets_.front());
    tickets_.pop_front();
    workers_.wait(first);
    if (first->failure) std::rethrow_exception(first->failure);
}
