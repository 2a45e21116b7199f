#include "model/row_file.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace {

// Rows of numbers of their own; the middle third is never written.
class numbers : public ::testing::Test {
  protected:
    static constexpr std::size_t n_rows = 9000, n_columns = 150;
    static double number(std::size_t row, std::size_t column) {
        return row / 3000 == 1 ? 0.0 : static_cast<double>(1000 * row + column + 1);
    }
    void SetUp() override {
        std::vector<row_file::addition> additions;
        for (std::size_t r = 0; r < n_rows; ++r) {
            if (r / 3000 == 1) continue;
            additions.clear();
            for (std::size_t c = 0; c < n_columns; ++c) additions.push_back({c, number(r, c)});
            file.add(r, additions);
        }
    }
    // The number of numbers that are others.
    static std::size_t wrong(const number_window& window) {
        std::size_t n = 0, i = 0;
        for (std::size_t r = 0; r < window.n_rows; ++r) {
            for (std::size_t c = 0; c < window.n_columns; ++c, ++i) {
                n += window.values[i] != number(window.first_row + r, window.first_column + c) ? 1 : 0;
            }
        }
        return n;
    }
    row_file file{::testing::TempDir(), n_rows, n_columns};
};

TEST_F(numbers, take_additions_in_their_order) {
    const double third = 1.0 / 3.0;
    file.add(4000, {});
    file.add(4000, std::vector<row_file::addition>{{70, third}, {20, 1e16}, {20, third}, {70, third}});
    file.add(4000, std::vector<row_file::addition>{{20, -1e16}, {149, 2.0}});
    const auto window = file.window(4000, 1, 0);
    EXPECT_EQ((1e16 + third) - 1e16, window->values[20]);
    EXPECT_EQ(third + third, window->values[70]);
    EXPECT_EQ(2.0, window->values[149]);
    EXPECT_EQ(0.0, window->values[0] + window->values[100]);
}

TEST_F(numbers, of_a_row_may_be_added_to_by_threads_beside_each_other) {
    constexpr std::size_t n_threads = 4, n_rounds = 300;
    std::vector<std::thread> threads;
    for (std::size_t t = 0; t < n_threads; ++t) {
        threads.emplace_back([this, t] {
            for (std::size_t i = 0; i < n_rounds; ++i) {
                file.add(4000, std::vector<row_file::addition>{{t, 1.0}, {100 + t, 2.0}});
            }
        });
    }
    for (std::thread& one : threads) one.join();
    const auto window = file.window(4000, 1, 0);
    for (std::size_t t = 0; t < n_threads; ++t) {
        EXPECT_EQ(1.0 * n_rounds, window->values[t]);
        EXPECT_EQ(2.0 * n_rounds, window->values[100 + t]);
    }
}

TEST_F(numbers, come_back_by_window) {
    for (std::size_t column = 0; column < n_columns; ++column) {
        const auto window = file.window(0, n_rows, column);
        ASSERT_EQ(64U, column < 128 ? window->n_columns : 64U);
        ASSERT_LE(window->first_column, column);
        ASSERT_GT(window->first_column + window->n_columns, column);
        ASSERT_EQ(0U, wrong(*window));
    }
    EXPECT_EQ(22U, file.window(0, n_rows, 149)->n_columns) << "the last columns";
    const auto few = file.window(2990, 20, 70);
    EXPECT_EQ(n_columns, few->n_columns) << "few rows, all their columns";
    EXPECT_EQ(0U, wrong(*few));
}

TEST_F(numbers, are_shared_by_those_who_read_the_same) {
    const auto one = file.window(0, n_rows, 3);
    EXPECT_EQ(one, file.window(0, n_rows, 63));
    EXPECT_NE(one, file.window(0, n_rows, 64));
    EXPECT_NE(one, file.window(0, 100, 3));
    EXPECT_EQ(0U, wrong(*one)) << "another window does not touch it";
}

TEST_F(numbers, are_read_anew_when_rows_have_changed) {
    const double before = file.window(8999, 1, 5)->values[5];
    file.add(8999, std::vector<row_file::addition>{{5, 1.0}});
    EXPECT_EQ(before + 1.0, file.window(8999, 1, 5)->values[5]);
}

TEST_F(numbers, may_be_asked_for_by_threads_beside_each_other) {
    std::vector<std::size_t> n_wrong(4);
    std::vector<std::thread> threads;
    for (std::size_t t = 0; t < n_wrong.size(); ++t) {
        threads.emplace_back([this, &n_wrong, t] {
            for (std::size_t i = 0; i < 40; ++i)
                n_wrong[t] += wrong(*file.window(0, 3000 + 1000 * (i % 2), 30 * i % 150));
        });
    }
    for (std::thread& one : threads) one.join();
    EXPECT_EQ(std::vector<std::size_t>(4, 0), n_wrong);
}

TEST_F(numbers, take_room_for_a_window) {
    EXPECT_EQ(n_rows * 64 * sizeof(double), row_file::window_bytes(n_rows, n_columns));
    EXPECT_EQ(10 * n_columns * sizeof(double), row_file::window_bytes(10, n_columns));
    EXPECT_EQ(2000 * 256 * sizeof(double), row_file::window_bytes(2000, 10600));
}

}  // namespace
