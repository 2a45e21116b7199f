#include "model/phase_sums.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <vector>

namespace {

// Two heterozygotes behind another, from four paths.
phase_sums sums_of(double with_previous, double with_second) {
    phase_sums sums;
    sums.site = {3, 8, 9};
    sums.with_previous = {0.0, 2.0, with_previous};
    sums.with_second = {0.0, 0.0, with_second};
    sums.n_paths = 4;
    return sums;
}

TEST(phase_sums_of_one, are_those_of_all_paths) {
    phase_sums all;
    add_sums(sums_of(3.0, -1.0), all);
    EXPECT_EQ(4U, all.n_paths);
    add_sums(sums_of(-2.0, 4.0), all);
    EXPECT_EQ(8U, all.n_paths);
    EXPECT_EQ((std::vector<std::size_t>{3, 8, 9}), all.site);
    EXPECT_EQ((std::vector<double>{0.0, 4.0, 1.0}), all.with_previous);
    EXPECT_EQ((std::vector<double>{0.0, 0.0, 3.0}), all.with_second);
}

TEST(phase_lead, is_the_mean_over_paths_turned_by_the_alleles_before) {
    const phase_lead lead = lead_of(sums_of(3.0, -1.0), 2, -1.0, 1.0);
    EXPECT_EQ(-0.75, lead.with_previous);
    EXPECT_EQ(-0.25, lead.with_second);
    EXPECT_FALSE(lead.first_is_one());
}

TEST(phase_lead, is_nothing_where_no_heterozygote_stands_before) {
    const phase_lead lead = lead_of(sums_of(3.0, -1.0), 2, 0.0, 0.0);
    EXPECT_EQ(0.0, lead.with_previous);
    EXPECT_EQ(0.0, lead.with_second);
    EXPECT_TRUE(lead.first_is_one());
}

TEST(phase_lead, follows_the_second_one_before_over_a_site_that_does_not_tell) {
    EXPECT_FALSE(lead_of(sums_of(0.1, -3.9), 2, 1.0, 1.0).first_is_one());
    EXPECT_TRUE(lead_of(sums_of(0.1, -3.9), 2, 1.0, -1.0).first_is_one());
}

}  // namespace
