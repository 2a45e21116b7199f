#include "model/sum_table.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "io/run_log.h"

namespace {

const std::vector<int> columns{-1, 0, -1, 1, 2};  // sites 1, 3 and 4 have a column
const std::string directory = ::testing::TempDir();

// In memory, and in a file.
class sum_table_in : public ::testing::TestWithParam<const std::string*> {
  protected:
    void allocate(std::size_t n_rows) { table.allocate(n_rows, columns, 3, GetParam()); }
    sum_table table;
};
INSTANTIATE_TEST_SUITE_P(memory_and_file, sum_table_in, ::testing::Values(nullptr, &directory));

TEST_P(sum_table_in, sums_at_the_sites_with_a_column) {
    allocate(2);
    EXPECT_TRUE(table.allocated());
    for (std::size_t s = 0; s < 7; ++s) {
        EXPECT_EQ(s == 1 || s == 3 || s == 4, table.has(s));
        EXPECT_EQ(table.has(s) ? columns[s] : -1, table.column(s));
        EXPECT_EQ(0.0, table.get(0, s));
        for (std::size_t row = 0; row < 2; ++row) {
            table.add(row, s, 0.25);
            table.add(row, s, static_cast<double>(row));
        }
    }
    for (std::size_t row = 0; row < 2; ++row) {
        for (std::size_t s = 0; s < 7; ++s) {
            EXPECT_EQ(table.has(s) ? 0.25 + static_cast<double>(row) : 0.0, table.get(row, s));
        }
    }
    table.add(1, 3, 10.0);
    EXPECT_EQ(0.25, table.get(0, 3));
    EXPECT_EQ(11.25, table.get(1, 3));
}

TEST_P(sum_table_in, begins_anew_when_allocated_again) {
    allocate(1);
    table.add(0, 1, 5.0);
    allocate(1);
    EXPECT_EQ(0.0, table.get(0, 1));
}

TEST_P(sum_table_in, row_has_what_was_put_back_and_goes_on) {
    allocate(3);
    sum_row row(table, 1);
    row.put_back();  // nothing
    for (int round = 0; round < 3; ++round) {
        row.add(0, 7.0);  // without a column
        row.add(3, 0.5);
        row.add(4, 1.0);
        row.put_back();
    }
    EXPECT_EQ(1.5, table.get(1, 3));
    EXPECT_EQ(3.0, table.get(1, 4));
    EXPECT_EQ(0.0, table.get(1, 1));
    EXPECT_EQ(0.0, table.get(0, 3) + table.get(2, 3)) << "other rows";
}

TEST_P(sum_table_in, view_shows_the_rows_that_were_asked_for) {
    allocate(4);
    for (std::size_t row = 0; row < 4; ++row) table.add(row, 4, static_cast<double>(row));
    sum_view view;
    table.show(1, 2, 2, view);
    ASSERT_LE(view.first_row, 1U);
    ASSERT_GE(view.end_row, 3U);
    for (std::size_t row = 1; row < 3; ++row) {
        EXPECT_EQ(static_cast<double>(row), view.row(row)[2 - view.first_column]);
    }
    const double* const values = view.values;
    table.show(1, 2, 1, view);
    EXPECT_EQ(values, view.values) << "it is there already";
    table.show(3, 1, 2, view);
    EXPECT_EQ(3.0, view.row(3)[2 - view.first_column]);
    sum_table other;
    other.allocate(4, columns, 3, GetParam());
    other.show(3, 1, 2, view);
    EXPECT_EQ(0.0, view.row(3)[2 - view.first_column]) << "another table";
}

TEST_P(sum_table_in, pairs_are_added_to_and_read_in_both_orders) {
    std::array<sum_table, 2> tables;
    for (sum_table& one : tables) one.allocate(5, columns, 3, GetParam());
    for (std::size_t r = 0; r < 5; ++r) {
        sum_row_pair rows(tables, r);
        for (std::size_t s = 0; s < 5; ++s) rows.add(s, static_cast<double>(10 * r + s), 0.5);
        rows[1].add(3, 1.0);
        rows.put_back();
    }
    for (const auto by : {sum_reader::order::site_by_site, sum_reader::order::row_by_row}) {
        sum_reader reader(tables, 5, by);
        for (std::size_t r = 0; r < 5; ++r) {
            EXPECT_EQ((std::array<double, 2>{static_cast<double>(10 * r + 3), 1.5}), reader.get(r, 3));
            EXPECT_EQ((std::array<double, 2>{}), reader.get(r, 2)) << "without a column";
        }
    }
}

TEST(sum_table, has_nothing_before_it_is_allocated) {
    sum_table table;
    EXPECT_FALSE(table.allocated());
    EXPECT_FALSE(table.has(0));
    EXPECT_EQ(-1, table.column(0));
    EXPECT_EQ(0.0, table.get(5, 7));
    table.add(5, 7, 1.0);
    EXPECT_EQ(0.0, table.get(5, 7));
}

TEST(sum_table, of_a_directory_that_is_not_there_is_a_fault) {
    const std::string nowhere = directory + "/is_not_there";
    sum_table table;
    EXPECT_THROW(table.allocate(2, columns, 3, &nowhere), run_fault);
}

}  // namespace
