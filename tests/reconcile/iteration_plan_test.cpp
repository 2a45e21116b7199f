#include "reconcile/iteration_plan.h"

#include <gtest/gtest.h>

#include <optional>
#include <vector>

namespace {

using list = std::vector<int>;

class iteration_plan : public ::testing::Test {
  protected:
    iteration_plan() { params.selfcheck = 0.0; }
    void make(int n_iterations, int burnin) {
        plan.n_iterations = n_iterations;
        plan.burnin = burnin;
        plan_iterations(params, plan);
    }
    parameters params;
    run_plan plan;
};

// --- iterations that count ------------------------------------------------------------------------------------------

TEST_F(iteration_plan, stores_all_after_the_burn_in) {
    make(6, 2);
    EXPECT_EQ((list{2, 3, 4, 5}), plan.stored_iters);
    EXPECT_EQ(list{}, plan.selfcheck_iters);
}

TEST_F(iteration_plan, thins_and_keeps_the_last) {
    params.thin = 7;
    make(30, 10);
    EXPECT_EQ((list{10, 17, 24, 29}), plan.stored_iters);
    params.thin = 4;
    make(7, 2);
    EXPECT_EQ((list{2, 6}), plan.stored_iters) << "once where it is due anyway";
}

TEST_F(iteration_plan, stores_one_where_the_burn_in_leaves_no_more) {
    make(6, 5);
    EXPECT_EQ(list{5}, plan.stored_iters);
    make(6, 9);
    EXPECT_EQ(list{9}, plan.stored_iters);
    make(1, 0);
    EXPECT_EQ(list{0}, plan.stored_iters);
    make(0, 0);
    EXPECT_EQ(list{0}, plan.stored_iters);
}

// --- iterations that mask typed genotypes ---------------------------------------------------------------------------

TEST_F(iteration_plan, masks_in_every_fifth_stored_iteration_of_a_fifth) {
    params.selfcheck = 0.2;
    make(30, 10);
    EXPECT_EQ((list{10, 15, 20, 25, 29}), plan.selfcheck_iters);
}

TEST_F(iteration_plan, masks_in_the_last_stored_iteration_once) {
    params.selfcheck = 0.5;
    make(5, 0);
    EXPECT_EQ((list{0, 2, 4}), plan.selfcheck_iters);
    make(2, 1);
    EXPECT_EQ(list{1}, plan.selfcheck_iters);
}

TEST_F(iteration_plan, masks_in_stored_iterations_only) {
    params.selfcheck = 0.5;
    params.thin = 3;
    make(20, 2);
    EXPECT_EQ((list{2, 5, 8, 11, 14, 17, 19}), plan.stored_iters);
    EXPECT_EQ((list{2, 8, 14, 19}), plan.selfcheck_iters);
}

TEST_F(iteration_plan, masks_in_all_stored_iterations_of_a_share_of_one) {
    params.selfcheck = 1.0;
    make(6, 2);
    EXPECT_EQ(plan.stored_iters, plan.selfcheck_iters);
}

TEST_F(iteration_plan, masks_in_the_first_and_the_last_where_the_share_rounds_to_no_step) {
    params.selfcheck = 3.0;
    make(6, 2);
    EXPECT_EQ((list{2, 5}), plan.selfcheck_iters);
}

TEST_F(iteration_plan, masks_never_without_a_share) {
    params.selfcheck = -1.0;
    make(6, 2);
    EXPECT_EQ(list{}, plan.selfcheck_iters);
}

// --- iterations with informed states --------------------------------------------------------------------------------

TEST_F(iteration_plan, is_informed_in_two_thirds_of_the_burn_in) {
    make(30, 10);
    EXPECT_EQ(3, plan.informed_start_iter);
    make(30, 1);
    EXPECT_EQ(0, plan.informed_start_iter);
    make(30, 0);
    EXPECT_EQ(0, plan.informed_start_iter);
}

TEST_F(iteration_plan, is_informed_as_long_as_asked_for) {
    params.informed_burnin = 2;
    make(30, 10);
    EXPECT_EQ(8, plan.informed_start_iter);
    params.informed_burnin = 0;
    make(30, 10);
    EXPECT_EQ(10, plan.informed_start_iter);
}

TEST_F(iteration_plan, is_informed_from_the_start_where_more_than_the_burn_in_is_asked_for) {
    params.informed_burnin = 50;
    make(30, 10);
    EXPECT_EQ(0, plan.informed_start_iter);
}

TEST_F(iteration_plan, is_never_informed_under_random_states) {
    params.random_cond = true;
    make(30, 10);
    EXPECT_EQ(std::nullopt, plan.informed_start_iter);
}

TEST_F(iteration_plan, phases_once_more_only_where_iterations_tell_the_phase) {
    params.phase = true;
    params.local_states = 50;
    make(30, 10);
    EXPECT_FALSE(plan.phases_once_more) << "nobody asks for it";
    params.final_states = 100;
    make(30, 10);
    EXPECT_TRUE(plan.phases_once_more);
    params.suppress_imputation_output = true;
    make(30, 10);
    EXPECT_FALSE(plan.phases_once_more) << "nothing is written";
    params.suppress_imputation_output = false;
    params.prob_g = true;
    make(30, 10);
    EXPECT_FALSE(plan.phases_once_more) << "uncertain genotypes";
    params.prob_g = false;
    params.local_states = 0;
    make(30, 10);
    EXPECT_FALSE(plan.phases_once_more) << "no sums";
    params.local_states = 50;
    params.phase = false;
    make(30, 10);
    EXPECT_FALSE(plan.phases_once_more) << "no phase is wanted";
}

TEST_F(iteration_plan, local_states_need_no_random_ones_first) {
    params.local_states = 50;
    make(30, 10);
    EXPECT_EQ(0, plan.informed_start_iter);
    params.informed_burnin = 4;
    make(30, 10);
    EXPECT_EQ(6, plan.informed_start_iter) << "unless they are asked for";
}

}  // namespace
