#include "run/progress.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <regex>
#include <sstream>
#include <string>
#include <thread>

namespace {

using test_clock = std::chrono::steady_clock;

double seconds_since(test_clock::time_point start) {
    return std::chrono::duration<double>(test_clock::now() - start).count();
}

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

TEST(progress_line, is_not_renewed_at_every_member) {
    std::ostringstream out;
    progress_line progress(out, true);
    const auto start = test_clock::now();
    progress.update("individual", 0, 10);
    const std::string first = out.str();
    progress.update("individual", 1, 10);
    const std::string second = out.str();
    if (seconds_since(start) > 0.2) GTEST_SKIP() << "the machine is too slow";
    EXPECT_NE("", first);
    EXPECT_EQ(first, second);
}

TEST(progress_line, covers_a_longer_line_before_it) {
    std::ostringstream out;
    progress_line progress(out, true);
    progress.start_iteration(0, 1);
    progress.update("reference individual", 0, 10);
    out.str("");
    std::this_thread::sleep_for(std::chrono::milliseconds(250));
    progress.update("individual", 1, 10);
    EXPECT_EQ("\riteration 1/1, individual 2/10" + std::string(std::string("reference ").size(), ' '), out.str());
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

// After a quarter of the run three times as long is left.
TEST(progress_line, estimates_the_time_left_from_the_share_done) {
    std::ostringstream out;
    const auto start = test_clock::now();
    progress_line progress(out, true);
    std::this_thread::sleep_for(std::chrono::milliseconds(1100));
    progress.start_iteration(0, 2);
    progress.update("individual", 5, 10);
    const double longest = seconds_since(start);
    const std::string text = out.str();
    std::smatch found;
    ASSERT_TRUE(std::regex_match(text, found,
                                 std::regex("\riteration 1/2, individual 6/10, about ([0-9]+) min ([0-9]+) s left")))
        << text;
    const double left = 60 * std::stod(found[1]) + std::stod(found[2]);
    EXPECT_GE(left, std::floor(3 * 1.1));
    EXPECT_LE(left, 3 * longest + 1);
}

TEST(progress_line, estimates_nothing_before_a_share_is_done) {
    std::ostringstream out;
    progress_line progress(out, true);
    std::this_thread::sleep_for(std::chrono::milliseconds(1100));
    progress.start_iteration(0, 2);
    progress.update("individual", 0, 10);
    EXPECT_EQ("\riteration 1/2, individual 1/10", out.str());
}

}  // namespace
