#include "run/progress.h"

#include <algorithm>
#include <cmath>
#include <ostream>
#include <string>

#include "io/text.h"

void progress_line::start_iteration(int iteration, int n_iterations) {
    iteration_ = iteration;
    n_iterations_ = n_iterations;
    title_ = concat("iteration ", iteration + 1, "/", n_iterations);
}

void progress_line::start_final_round(int round, int n_rounds) {
    start_iteration(round, n_rounds);
    title_ = "final pass";
    if (n_rounds > 1) title_ += concat(", round ", round + 1, "/", n_rounds);
    if (round == 0) start_ = now_();
}

void progress_line::update(std::string_view what, std::size_t member, std::size_t n_members) {
    if (!shown_) return;
    const clock::time_point now = now_();
    if (now - last_ < std::chrono::milliseconds(200)) return;
    last_ = now;
    std::string text = concat(title_, ", ", what, " ", member + 1, "/", n_members);
    const auto spent = std::chrono::duration<double>(now - start_).count();
    const double done =
        (iteration_ + static_cast<double>(member) / static_cast<double>(std::max<std::size_t>(n_members, 1))) /
        std::max(n_iterations_, 1);
    if (done > 0.0 && spent > 1.0) {
        const long left = std::lround(spent / done - spent);
        text += concat(", about ", left / 60, " min ", left % 60, " s left");
    }
    write(text);
}

void progress_line::finish() {
    if (!shown_ || width_ == 0) return;
    write("");
    out_ << '\r' << std::flush;
    width_ = 0;
}

void progress_line::write(std::string_view text) {
    const std::size_t padding = width_ > text.size() ? width_ - text.size() : 0;
    out_ << '\r' << text << std::string(padding, ' ') << std::flush;
    width_ = text.size();
}
