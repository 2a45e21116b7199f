#include "inference/update/sweep_choice.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

class sweep_choice : public ::testing::Test {
  protected:
    void SetUp() override {
        states.add(0, 3);
        states.add(0, 8);
        imputation.panel = 2;
        imputation.backward = imputation.allele_probs = imputation.stored = true;
        phasing.panel = 2;
        // Checkpoints at sites 4 and 1; site 0 lies left of them.
        plain.site = saving.site = {0, 1, 2, 3, 4};
        saving.interval = 3;
        requests.assign(5, {});
        requests[3].posterior = true;
    }
    haploid_choice choose(const hmm_model& model) const {
        return choose_sweep(params, imputation, model, states, 2, requests);
    }
    pair_choice choose_pair(const hmm_model& model) const { return choose_sweep(params, plan, phasing, model); }

    parameters params;
    run_plan plan;
    haploid_update imputation;  // of a study haplotype from Panel 0
    pair_update phasing;
    conditioning_states states;
    std::vector<haploid_request> requests;
    hmm_model plain, saving;  // without checkpoints, with
};

TEST_F(sweep_choice, of_posteriors_from_panel_0_is_by_its_classes) {
    EXPECT_EQ(haploid_sweep::classes, choose(plain).sweep);
    imputation.panel = 1;
    EXPECT_EQ(haploid_sweep::classes, choose(plain).sweep);
}

TEST_F(sweep_choice, is_by_single_states_where_classes_do_not_serve) {
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

TEST_F(sweep_choice, has_checkpoints_under_memory_saving) {
    EXPECT_EQ(0U, choose(saving).checkpoint_interval);
    params.mem_save_1 = true;
    EXPECT_EQ(3U, choose(saving).checkpoint_interval);
    EXPECT_EQ(0U, choose(plain).checkpoint_interval) << "a model without";
    params.use_old_code = true;
    EXPECT_EQ(0U, choose(saving).checkpoint_interval);
    params.use_old_code = false;
    params.show_ref_copy_probs = true;
    EXPECT_EQ(0U, choose(saving).checkpoint_interval);
    imputation.panel = imputation.cond_panel = 1;
    EXPECT_EQ(0U, choose(saving).checkpoint_interval) << "whatever is updated";
}

TEST_F(sweep_choice, is_by_single_states_where_the_walk_reads_left_of_the_checkpoints) {
    params.mem_save_1 = true;
    EXPECT_EQ(haploid_sweep::classes, choose(saving).sweep);
    requests[0].posterior = true;
    EXPECT_EQ(haploid_sweep::observed_sites, choose(saving).sweep);
    EXPECT_EQ(haploid_sweep::classes, choose(plain).sweep);
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
    EXPECT_EQ(0U, choose_pair(saving).checkpoint_interval);
    params.mem_save_1 = true;
    EXPECT_EQ(3U, choose_pair(saving).checkpoint_interval);
    EXPECT_EQ(0U, choose_pair(plain).checkpoint_interval);
    phasing.ordered = true;
    EXPECT_EQ(0U, choose_pair(saving).checkpoint_interval);
    phasing.ordered = false;
    phasing.backward = phasing.weighted = true;
    EXPECT_EQ(3U, choose_pair(saving).checkpoint_interval);
    params.use_old_code = true;
    EXPECT_EQ(0U, choose_pair(saving).checkpoint_interval);
    phasing.backward = false;
    EXPECT_EQ(0U, choose_pair(saving).checkpoint_interval) << "a weighted iteration";
    phasing.weighted = false;
    EXPECT_EQ(3U, choose_pair(saving).checkpoint_interval);
    plan.chrx_haploid = true;
    EXPECT_EQ(0U, choose_pair(saving).checkpoint_interval);
}

}  // namespace
