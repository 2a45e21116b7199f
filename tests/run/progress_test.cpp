#include "run/progress.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <sstream>
#include <string>

namespace {

using std::chrono::milliseconds;

// A clock that stands until it is set forward.
struct set_clock {
    progress_line::clock::time_point time{};
    std::function<progress_line::clock::time_point()> reading() {
        return [this] { return time; };
    }
};

TEST(progress_line, names_iteration_pass_and_member_counted_from_1) {
    std::ostringstream out;
    progress_line progress(out, true);
    progress.start_iteration(2, 30);
    progress.update("Panel 0 haplotype", 4, 10);
    EXPECT_EQ("\riteration 3/30, Panel 0 haplotype 5/10", out.str());
}

TEST(progress_line, says_nothing_where_nobody_watches) {
    std::ostringstream out;
    progress_line progress(out, false);
    progress.start_iteration(0, 2);
    progress.update("individual", 0, 10);
    progress.finish();
    EXPECT_EQ("", out.str());
}

TEST(progress_line, is_renewed_five_times_a_second_at_most) {
    std::ostringstream out;
    set_clock clock;
    progress_line progress(out, true, clock.reading());
    progress.start_iteration(0, 1);
    progress.update("individual", 0, 10);
    const std::string first = out.str();
    clock.time += milliseconds(199);
    progress.update("individual", 1, 10);
    EXPECT_EQ("\riteration 1/1, individual 1/10", first);
    EXPECT_EQ(first, out.str());
    clock.time += milliseconds(1);
    progress.update("individual", 2, 10);
    EXPECT_EQ(first + "\riteration 1/1, individual 3/10", out.str());
}

TEST(progress_line, covers_a_longer_line_before_it) {
    std::ostringstream out;
    set_clock clock;
    progress_line progress(out, true, clock.reading());
    progress.start_iteration(0, 1);
    progress.update("reference individual", 0, 10);
    out.str("");
    clock.time += milliseconds(250);
    progress.update("individual", 1, 10);
    EXPECT_EQ("\riteration 1/1, individual 2/10" + std::string(std::string("reference ").size(), ' '), out.str());
}

TEST(progress_line, tells_the_time_left_of_the_final_pass_alone) {
    std::ostringstream out;
    set_clock clock;
    progress_line progress(out, true, clock.reading());
    progress.start_iteration(29, 30);
    clock.time += std::chrono::seconds(1000);
    progress.start_final_round(0, 1);
    clock.time += std::chrono::seconds(10);
    progress.update("individual", 25, 100);
    EXPECT_EQ("\rfinal pass, individual 26/100, about 0 min 30 s left", out.str());
    out.str("");
    progress.start_final_round(0, 4);
    clock.time += std::chrono::seconds(30);
    progress.start_final_round(2, 4);
    progress.update("individual", 0, 100);
    EXPECT_EQ("\rfinal pass, round 3/4, individual 1/100, about 0 min 30 s left", out.str());
}

TEST(progress_line, is_removed_once_at_the_end) {
    std::ostringstream out;
    progress_line progress(out, true);
    progress.start_iteration(0, 1);
    progress.update("individual", 0, 9);
    const std::size_t width = out.str().size() - 1;
    out.str("");
    progress.finish();
    EXPECT_EQ("\r" + std::string(width, ' ') + "\r", out.str());
    progress.finish();
    EXPECT_EQ("\r" + std::string(width, ' ') + "\r", out.str());
}

TEST(progress_line, that_was_never_shown_is_not_removed) {
    std::ostringstream out;
    progress_line(out, true).finish();
    EXPECT_EQ("", out.str());
}

// What stands on the line at a member of the first of two iterations, so long after the start of the run.
std::string line_at(milliseconds since_start, int member) {
    std::ostringstream out;
    set_clock clock;
    progress_line progress(out, true, clock.reading());
    clock.time += since_start;
    progress.start_iteration(0, 2);
    progress.update("individual", member, 10);
    return out.str();
}

TEST(progress_line, estimates_the_time_left_from_the_share_done) {
    // After a quarter of the run three times as long is left.
    EXPECT_EQ("\riteration 1/2, individual 6/10, about 1 min 30 s left", line_at(milliseconds(30000), 5));
}

TEST(progress_line, estimates_nothing_before_a_share_is_done) {
    EXPECT_EQ("\riteration 1/2, individual 1/10", line_at(milliseconds(1100), 0));
}

TEST(progress_line, estimates_nothing_in_the_first_second) {
    EXPECT_EQ("\riteration 1/2, individual 6/10", line_at(milliseconds(1000), 5));
}

}  // namespace
