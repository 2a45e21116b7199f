#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <iosfwd>
#include <string>
#include <string_view>
#include <utility>

// One line on standard error that overwrites itself while the iterations run, for people who watch a terminal:
// iteration, member of the panel, estimated time left. Nothing is written when standard error is no terminal.
class progress_line {
  public:
    using clock = std::chrono::steady_clock;
    // now is read for the pace of the line and the time left.
    progress_line(std::ostream& out, bool shown, std::function<clock::time_point()> now = clock::now)
        : out_(out), shown_(shown), now_(std::move(now)) {}
    void start_iteration(int iteration, int n_iterations);
    // Of the pass after the iterations; its time is its own.
    void start_final_round(int round, int n_rounds);
    // member of n_members, for one of the passes of the iteration.
    void update(std::string_view what, std::size_t member, std::size_t n_members);
    // Removes the line.
    void finish();

  private:
    void write(std::string_view text);

    std::ostream& out_;
    bool shown_;
    std::function<clock::time_point()> now_;
    std::string title_;
    int iteration_ = 0;
    int n_iterations_ = 0;
    clock::time_point start_ = now_();
    clock::time_point last_ = start_ - std::chrono::hours(1);
    std::size_t width_ = 0;
};
