#pragma once

// A lock on the name of an output, so that two runs do not write to it at once. It ends with its process, however that
// ends.

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class output_lock {
  public:
    // Tries to take the lock of an output: a file ".NAME.lock" beside it, which is removed in the end. None is needed
    // where the output is a stream, and none can be had where its directory takes no files.
    explicit output_lock(const std::string& output);
    ~output_lock();
    output_lock(const output_lock&) = delete;
    output_lock& operator=(const output_lock&) = delete;

    // Whether another run has the lock.
    bool is_refused() const { return refused_; }

  private:
    bool try_once();

    std::string name_;
    int descriptor_ = -1;
    bool refused_ = false;
    std::optional<std::size_t> removal_;
};

// The locks of several outputs.
class output_locks {
  public:
    // Takes them one after the other, in an order of their own, so that of two runs which want the same ones the first
    // gets all; ends at one that another run has. Names that lead to one file have one lock.
    explicit output_locks(const std::vector<std::string>& outputs);
    // The place in the list of the output that another run is at; nobody if all locks were had.
    std::optional<std::size_t> refused() const { return refused_; }

  private:
    std::vector<std::unique_ptr<output_lock>> locks_;
    std::optional<std::size_t> refused_;
};
