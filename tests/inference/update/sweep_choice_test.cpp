#include "inference/update/sweep_choice.h"

#include <gtest/gtest.h>

namespace {

class sweep_choice : public ::testing::Test {
  protected:
    void SetUp() override {
        states.add(0, 3);
        states.add(0, 8);
        imputation.panel = 2;
        imputation.backward = imputation.allele_probs = imputation.stored = true;
        phasing.panel = 2;
        saving.checkpoint.assign(5, true);
    }
    haploid_choice choose(const hmm_model& model) const { return choose_sweep(params, imputation, model, states, 2); }
    pair_choice choose_pair(const hmm_model& model) const { return choose_sweep(params, plan, phasing, model); }

    parameters params;
    run_plan plan;
    haploid_update imputation;  // of a study haplotype from Panel 0
    pair_update phasing;
    conditioning_states states;
    hmm_model plain, saving;  // without checkpoints, with
};

TEST_F(sweep_choice, of_posteriors_from_panel_0_is_by_its_distinct_haplotypes) {
    EXPECT_EQ(haploid_sweep::distinct, choose(plain).sweep);
    imputation.panel = 1;
    EXPECT_EQ(haploid_sweep::distinct, choose(plain).sweep);
}

TEST_F(sweep_choice, falls_back_to_single_states_where_distinct_haplotypes_do_not_serve) {
    haploid_update u = imputation;
    imputation.sample = true;
    EXPECT_EQ(haploid_sweep::observed_sites, choose(plain).sweep) << "a path";
    imputation = u;
    imputation.backward = false;
    EXPECT_EQ(haploid_sweep::observed_sites, choose(plain).sweep) << "no posteriors";
    imputation = u;
    imputation.cond_panel = 1;
    EXPECT_EQ(haploid_sweep::observed_sites, choose(plain).sweep) << "another panel";
    imputation = u;
    states.panel[1] = 1;
    EXPECT_EQ(haploid_sweep::observed_sites, choose(plain).sweep) << "a state of another panel";
    states.panel = {0};
    states.hap = {3};
    EXPECT_EQ(haploid_sweep::observed_sites, choose(plain).sweep) << "fewer states than the model has";
}

TEST_F(sweep_choice, of_checkpoints_comes_first_under_memory_saving) {
    EXPECT_EQ(haploid_sweep::distinct, choose(saving).sweep);
    params.mem_save_1 = true;
    EXPECT_EQ(haploid_sweep::checkpoints, choose(saving).sweep);
    EXPECT_EQ(haploid_sweep::distinct, choose(plain).sweep) << "a model without checkpoints";
    params.use_old_code = true;
    EXPECT_NE(haploid_sweep::checkpoints, choose(saving).sweep);
    params.use_old_code = false;
    params.show_ref_copy_probs = true;
    EXPECT_NE(haploid_sweep::checkpoints, choose(saving).sweep);
    imputation.panel = imputation.cond_panel = 1;
    EXPECT_NE(haploid_sweep::checkpoints, choose(saving).sweep) << "whatever is updated";
}

TEST_F(sweep_choice, tells_where_the_posteriors_of_states_are_written) {
    EXPECT_FALSE(choose(plain).copying);
    params.show_ref_copy_probs = true;
    EXPECT_TRUE(choose(plain).copying);
    EXPECT_EQ(haploid_sweep::observed_sites, choose(plain).sweep);
    params.mc_impute = true;
    EXPECT_FALSE(choose(plain).copying);
    params.mc_impute = false;
    imputation.cond_panel = 1;
    EXPECT_FALSE(choose(plain).copying);
    imputation.cond_panel = 0;
    imputation.stored = false;
    EXPECT_FALSE(choose(plain).copying);
    imputation.stored = true;
    imputation.panel = 1;
    EXPECT_FALSE(choose(plain).copying);
}

TEST_F(sweep_choice, draws_the_states_first_in_the_older_order) {
    EXPECT_FALSE(choose(plain).states_first);
    EXPECT_FALSE(choose_pair(plain).states_first);
    phasing.ordered = true;
    EXPECT_TRUE(choose_pair(plain).states_first) << "a known phase";
    phasing.ordered = false;
    params.use_old_code = true;
    EXPECT_TRUE(choose(plain).states_first);
    EXPECT_TRUE(choose_pair(plain).states_first);
}

TEST_F(sweep_choice, of_pairs_keeps_tables_as_they_are_asked_for) {
    EXPECT_EQ(pair_sweep::kept_tables, choose_pair(plain).sweep);
    EXPECT_EQ(48U, choose_pair(plain).keep_every);
    phasing.backward = true;
    EXPECT_EQ(16U, choose_pair(plain).keep_every);
    params.show_all_copy_probs = true;
    EXPECT_FALSE(choose_pair(plain).copying);
    params.use_old_code = true;
    EXPECT_TRUE(choose_pair(plain).copying);
    EXPECT_EQ(1U, choose_pair(plain).keep_every);
    phasing.ordered = true;
    EXPECT_FALSE(choose_pair(plain).copying);
    phasing.ordered = false;
    plan.chrx_haploid = true;
    EXPECT_FALSE(choose_pair(plain).copying);
    EXPECT_EQ(16U, choose_pair(plain).keep_every);
}

TEST_F(sweep_choice, of_pairs_keeps_checkpoints_under_memory_saving) {
    EXPECT_EQ(pair_sweep::kept_tables, choose_pair(saving).sweep);
    params.mem_save_1 = true;
    EXPECT_EQ(pair_sweep::checkpoints, choose_pair(saving).sweep);
    EXPECT_EQ(pair_sweep::kept_tables, choose_pair(plain).sweep);
    phasing.ordered = true;
    EXPECT_EQ(pair_sweep::kept_tables, choose_pair(saving).sweep);
    phasing.ordered = false;
    phasing.backward = phasing.weighted = true;
    EXPECT_EQ(pair_sweep::checkpoints, choose_pair(saving).sweep);
    params.use_old_code = true;
    EXPECT_EQ(pair_sweep::kept_tables, choose_pair(saving).sweep);
    phasing.backward = false;
    EXPECT_EQ(pair_sweep::kept_tables, choose_pair(saving).sweep) << "a weighted iteration";
    phasing.weighted = false;
    EXPECT_EQ(pair_sweep::checkpoints, choose_pair(saving).sweep);
    plan.chrx_haploid = true;
    EXPECT_EQ(pair_sweep::kept_tables, choose_pair(saving).sweep);
}

}  // namespace
