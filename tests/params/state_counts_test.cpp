#include <gtest/gtest.h>

#include <array>
#include <sstream>

#include "model/data.h"
#include "params/state_counts.h"
#include "support/run_builder.h"

namespace {

class state_counts : public ::testing::Test {
  protected:
    void count(std::array<std::size_t, 3> n_hap, std::vector<int> k_hap, int k) {
        set_haplotypes(run.panels, n_hap);
        run.params.k_hap = std::move(k_hap);
        run.params.k = k;
        set_state_counts(run.params, run.panels, run.models);
    }
    std::ostringstream terminal, notes;
    data run{terminal, notes};
};

TEST_F(state_counts, limits_cut_every_model) {
    count({100, 60, 40}, {30, 20}, 8);
    EXPECT_EQ(50, run.models.k_states[0][2][2]);
    EXPECT_EQ(50, run.models.k_states[0][2][1]);
    EXPECT_EQ(30, run.models.k_states[0][2][0]);
    EXPECT_EQ(30, run.models.k_states[0][1][0]);
    EXPECT_EQ(20, run.models.k_states[0][1][2]);
    EXPECT_EQ(20, run.models.k_states[0][0][2]);
    EXPECT_EQ(20, run.models.k_states[0][0][1]);
    EXPECT_EQ(30, run.models.k_states[0][0][0]);
    EXPECT_EQ(8, run.models.k_states[1][2][2]);
    EXPECT_EQ(8, run.models.k_states[1][1][1]);
}

TEST_F(state_counts, panel_sizes_cut_generous_limits) {
    count({100, 60, 40}, {1000, 2000}, 3000);
    EXPECT_EQ(199, run.models.k_states[0][2][2]);
    EXPECT_EQ(160, run.models.k_states[0][2][1]);
    EXPECT_EQ(100, run.models.k_states[0][2][0]);
    EXPECT_EQ(100, run.models.k_states[0][1][0]);
    EXPECT_EQ(40, run.models.k_states[0][1][2]);
    EXPECT_EQ(40, run.models.k_states[0][0][2]);
    EXPECT_EQ(60, run.models.k_states[0][0][1]);
    EXPECT_EQ(99, run.models.k_states[0][0][0]);
    EXPECT_EQ(198, run.models.k_states[1][2][2]);
    EXPECT_EQ(158, run.models.k_states[1][1][1]);
}

TEST_F(state_counts, of_the_final_pass_are_those_asked_for_or_all_there_are) {
    run.params.final_states = 150;
    count({100, 60, 40}, {30, 20}, 8);
    EXPECT_EQ(150, run.models.k_final);
    count({60, 40, 20}, {30, 20}, 8);
    EXPECT_EQ(118, run.models.k_final);
    count({0, 0, 1}, {30, 20}, 8);
    EXPECT_EQ(0, run.models.k_final);
    run.params.final_states = 0;
    count({100, 60, 40}, {30, 20}, 8);
    EXPECT_EQ(0, run.models.k_final);
}

TEST_F(state_counts, full_counts_know_no_limits) {
    count({100, 60, 40}, {3, 2}, 1);
    EXPECT_EQ(199, run.models.k_states_full[0][2][2]);
    EXPECT_EQ(160, run.models.k_states_full[0][2][1]);
    EXPECT_EQ(100, run.models.k_states_full[0][2][0]);
    EXPECT_EQ(100, run.models.k_states_full[0][1][0]);
    EXPECT_EQ(40, run.models.k_states_full[0][1][2]);
    EXPECT_EQ(40, run.models.k_states_full[0][0][2]);
    EXPECT_EQ(60, run.models.k_states_full[0][0][1]);
    EXPECT_EQ(99, run.models.k_states_full[0][0][0]);
    EXPECT_EQ(198, run.models.k_states_full[1][2][2]);
    EXPECT_EQ(158, run.models.k_states_full[1][1][1]);
}

TEST_F(state_counts, full_counts_are_not_needed_under_random_states) {
    run.params.random_cond = true;
    count({100, 60, 40}, {30}, 8);
    EXPECT_EQ(30, run.models.k_states[0][2][0]);
    for (const auto& mode : run.models.k_states_full) {
        for (const auto& panel : mode) EXPECT_EQ((std::array<int, 3>{}), panel);
    }
}

TEST_F(state_counts, a_limit_of_zero_or_less_means_everybody) {
    for (const int limit : {0, -1}) {
        count({10, 6, 4}, {limit}, limit);
        EXPECT_EQ(19, run.models.k_states[0][2][2]);
        EXPECT_EQ(16, run.models.k_states[0][2][1]);
        EXPECT_EQ(10, run.models.k_states[0][2][0]);
        EXPECT_EQ(18, run.models.k_states[1][2][2]);
        EXPECT_EQ(14, run.models.k_states[1][1][1]);
    }
}

TEST_F(state_counts, one_value_of_k_hap_leaves_the_second_at_zero) {
    count({100, 60, 40}, {30}, 8);
    EXPECT_EQ(30, run.models.k_states[0][2][1]);
    EXPECT_EQ(30, run.models.k_states[0][2][2]);
    EXPECT_EQ(0, run.models.k_states[0][0][1]);
    EXPECT_EQ(0, run.models.k_states[0][0][2]);
    EXPECT_EQ(0, run.models.k_states[0][1][2]);
}

TEST_F(state_counts, the_largest_limits_do_not_overflow) {
    count({100, 60, 40}, {2147483647, 2147483647}, 2147483647);
    EXPECT_EQ(199, run.models.k_states[0][2][2]);
    EXPECT_EQ(160, run.models.k_states[0][2][1]);
}

TEST_F(state_counts, small_panels_have_no_states) {
    count({1, 0, 0}, {30, 20}, 8);
    EXPECT_EQ(0, run.models.k_states[0][0][0]);
    EXPECT_EQ(0, run.models.k_states_full[0][0][0]);
    EXPECT_EQ(0, run.models.k_states[1][2][2]);
    EXPECT_EQ(0, run.models.k_states[1][1][1]);
    EXPECT_EQ(0, run.models.k_states[0][2][2]);
    EXPECT_EQ(1, run.models.k_states[0][2][0]);
    count({0, 0, 0}, {30, 20}, 8);
    EXPECT_EQ(0, run.models.k_states[0][0][0]);
    EXPECT_EQ(0, run.models.k_states[0][2][2]);
}

TEST_F(state_counts, males_of_panel_1_have_a_haploid_model) {
    run.params.g_ref_file = "ref.gen";
    run.plan.chrx_haploid = run.panels[1].sexes_differ = run.panels[2].sexes_differ = true;
    count({100, 60, 40}, {30, 20}, 8);
    EXPECT_EQ(50, run.models.k_states[0][1][1]);
    EXPECT_EQ(159, run.models.k_states_full[0][1][1]);
}

TEST_F(state_counts, other_runs_have_no_haploid_model_of_panel_1) {
    run.params.g_ref_file = "ref.gen";
    count({100, 60, 40}, {30, 20}, 8);
    EXPECT_EQ(0, run.models.k_states[0][1][1]);
    run.params.g_ref_file = "NULL";
    run.plan.chrx_haploid = run.panels[1].sexes_differ = run.panels[2].sexes_differ = true;
    count({100, 60, 40}, {30, 20}, 8);
    EXPECT_EQ(0, run.models.k_states[0][1][1]);
    EXPECT_EQ(0, run.models.k_states_full[0][1][1]);
}

TEST_F(state_counts, nothing_is_printed) {
    count({100, 60, 40}, {30, 20}, 8);
    EXPECT_EQ("", terminal.str());
}

}  // namespace
