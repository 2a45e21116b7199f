#pragma once

// A table of numbers in a temporary file, row after row. What is added to a row is added at once; what is read comes
// in windows, which those who read at the same place share.

#include <array>
#include <cstddef>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "io/temporary_file.h"

// A part of a table to read.
struct number_window {
    std::size_t first_row = 0, n_rows = 0;
    std::size_t first_column = 0, n_columns = 0;
    std::vector<double> values;  // [row][column], and beyond
};

// Vectors that are used again, since memory that comes anew from the system is paid for page by page.
template <typename Item>
class vector_pool {
  public:
    // With what it held when it was given.
    std::vector<Item> take() {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (spare_.empty()) return {};
        std::vector<Item> one = std::move(spare_.back());
        spare_.pop_back();
        return one;
    }
    void give(std::vector<Item>&& one) {
        const std::lock_guard<std::mutex> lock(mutex_);
        spare_.push_back(std::move(one));
    }

  private:
    std::mutex mutex_;
    std::vector<std::vector<Item>> spare_;
};

class row_file {
  public:
    // Of zeros. Throws run_fault where the directory has no room, or its disk fails later.
    row_file(const std::string& directory, std::size_t n_rows, std::size_t n_columns);

    struct addition {
        std::size_t column;
        double value;
    };
    // Adds to numbers of a row, in that order. Any number of threads may do so, also to one row, where the order of
    // theirs does not matter since each has columns of its own.
    void add(std::size_t row, std::span<const addition> additions);
    // Lists for that.
    vector_pool<addition>& lists() { return lists_; }
    // Of rows first_row to first_row + n_rows - 1 a stretch of columns with the given one among them. None of the rows
    // may change while it is held.
    std::shared_ptr<const number_window> window(std::size_t first_row, std::size_t n_rows, std::size_t column) const;

    // About as many bytes as those who read take at once from a table of that size.
    static std::size_t window_bytes(std::size_t n_rows, std::size_t n_columns);

  private:
    // Windows that somebody holds, and the one that was let go last: its memory is that of the next one, which would
    // else be zeros of the system's making first.
    struct window_store {
        std::mutex mutex;
        std::vector<std::weak_ptr<const number_window>> held;
        std::unique_ptr<number_window> spare;
        void keep(std::unique_ptr<number_window> one);
    };
    void read_window(number_window& window, std::size_t column) const;
    std::size_t place(std::size_t row, std::size_t column) const;

    const std::size_t n_columns_;
    std::vector<char> written_;  // by row; others are zeros, which need not be read
    temporary_file file_;
    vector_pool<addition> lists_;
    vector_pool<double> numbers_;
    std::array<std::mutex, 64> row_mutexes_;  // of the rows with that remainder
    std::shared_ptr<window_store> windows_;
};
