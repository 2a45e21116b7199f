#include "threads/read_ahead.h"

#include <algorithm>
#include <utility>

read_ahead::read_ahead(source from, std::size_t block_size, std::size_t n_blocks)
    : from_(std::move(from)),
      block_size_(block_size),
      empty_(n_blocks),
      thread_([this](const std::stop_token& stop) { run(stop); }) {}

void read_ahead::run(const std::stop_token& stop) {
    std::unique_lock lock(mutex_);
    while (!ended_ && changed_.wait(lock, stop, [this] { return !empty_.empty(); })) {
        std::vector<char> block = std::move(empty_.front());
        empty_.pop_front();
        lock.unlock();
        block.resize(block_size_);
        std::exception_ptr failure;
        try {
            block.resize(from_(block.data(), block_size_));
        } catch (...) {
            failure = std::current_exception();
        }
        lock.lock();
        ended_ = failure != nullptr || block.size() < block_size_;
        failure_ = failure;
        if (failure == nullptr) full_.push_back(std::move(block));
        changed_.notify_all();
    }
}

// Takes the next block in hand; false at the end.
bool read_ahead::next_block() {
    std::unique_lock lock(mutex_);
    if (block_.capacity() > 0) empty_.push_back(std::move(block_));
    block_.clear();
    used_ = 0;
    changed_.notify_all();
    changed_.wait(lock, [this] { return !full_.empty() || ended_; });
    if (full_.empty()) {
        if (failure_ != nullptr) std::rethrow_exception(failure_);
        return false;
    }
    block_ = std::move(full_.front());
    full_.pop_front();
    return true;
}

std::size_t read_ahead::read(char* to, std::size_t n) {
    std::size_t n_read = 0;
    while (n_read < n) {
        if (used_ == block_.size() && !next_block()) break;
        const std::size_t n_taken = std::min(n - n_read, block_.size() - used_);
        std::copy_n(block_.data() + used_, n_taken, to + n_read);
        used_ += n_taken;
        n_read += n_taken;
    }
    return n_read;
}
