#pragma once

// Bytes that a thread of its own reads, and unpacks, before they are asked for.

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <functional>
#include <mutex>
#include <stop_token>
#include <thread>
#include <vector>

class read_ahead {
  public:
    // Fills up to n bytes; fewer, or none, at the end only. May throw.
    using source = std::function<std::size_t(char* to, std::size_t n)>;

    // The source is called for whole blocks, and never more than n_blocks before they are wanted.
    read_ahead(source from, std::size_t block_size, std::size_t n_blocks);
    read_ahead(const read_ahead&) = delete;
    read_ahead& operator=(const read_ahead&) = delete;

    // The next n bytes; fewer at the end only. Throws what the source threw when it comes to it, the bytes that this
    // call had are then lost, as those of the block.
    std::size_t read(char* to, std::size_t n);

  private:
    void run(const std::stop_token& stop);
    bool next_block();

    const source from_;
    const std::size_t block_size_;
    std::vector<char> block_;  // in hand
    std::size_t used_ = 0;

    std::mutex mutex_;  // of what follows
    std::condition_variable_any changed_;
    std::deque<std::vector<char>> full_;
    std::deque<std::vector<char>> empty_;
    bool ended_ = false;
    std::exception_ptr failure_;

    std::jthread thread_;  // last: it ends before what it uses
};
