#include "reconcile/checkpoint_plan.h"

#include <gtest/gtest.h>

#include "support/log_capture.h"
#include "support/run_builder.h"

namespace {

// Two reference panels and a study, all to be sampled.
class checkpoint_plan : public ::testing::Test {
  protected:
    void SetUp() override {
        capture.open(log);
        plan.n_panels = 3;
        plan.output_types = {true, true, true, true};
        panels[0].n_hap = 8;
        set_diploids(panels[1], 4);
        set_diploids(panels[2], 5);
        for (panel_data& panel : panels) panel.needs_update = true;
    }
    void make(const type_counts& n_of_type) {
        models = {};
        plan_checkpoints(log, params, plan, panels, n_of_type, models);
    }
    std::size_t haploid(std::size_t panel, std::size_t cond) const { return models.chains[0][panel][cond].interval; }
    std::size_t diploid(std::size_t panel) const { return models.chains[1][panel][panel].interval; }
    log_capture capture;
    run_log log{capture.terminal, capture.notes};
    parameters params;
    run_plan plan;
    panel_array panels;
    copying_models models;
};

constexpr const char* no_sites =
    "ERROR: The program could not allocate buffer space for memory-saving calculations. Please contact the authors for "
    "assistance.";

TEST_F(checkpoint_plan, spaces_checkpoints_by_the_root_of_the_number_of_sites) {
    make({70, 20, 10, 99});
    EXPECT_EQ(10U, haploid(0, 0)) << "100 sites";
    EXPECT_EQ(10U, haploid(2, 0));
    EXPECT_EQ(5U, haploid(2, 1)) << "30 sites";
    EXPECT_EQ(5U, diploid(1));
    EXPECT_EQ(3U, diploid(2)) << "10 sites";
    EXPECT_EQ("", capture.terminal.str());
}

TEST_F(checkpoint_plan, counts_the_sites_of_the_study_alone_without_a_reference) {
    plan.n_panels = 4;
    panels[0] = panels[1] = {};
    make({0, 0, 0, 25});
    EXPECT_EQ(5U, diploid(2));
    EXPECT_EQ(0U, haploid(2, 0));
}

TEST_F(checkpoint_plan, leaves_out_models_that_nobody_uses) {
    panels[0].needs_update = panels[1].needs_update = panels[2].needs_update = false;
    plan.output_types[1] = false;
    make({70, 20, 10, 0});
    EXPECT_EQ(0U, haploid(0, 0));
    EXPECT_EQ(0U, haploid(2, 1));
    EXPECT_EQ(0U, diploid(1));
    EXPECT_EQ(0U, diploid(2));
    EXPECT_EQ(10U, haploid(2, 0));
}

TEST_F(checkpoint_plan, keeps_panel_0_for_weights_and_copy_probabilities) {
    plan.output_types[0] = false;
    make({70, 20, 10, 0});
    EXPECT_EQ(0U, haploid(2, 0));
    params.weight_panel = 0;
    make({70, 20, 10, 0});
    EXPECT_EQ(10U, haploid(2, 0));
    params.weight_panel = -1;
    params.show_ref_copy_probs = true;
    make({70, 20, 10, 0});
    EXPECT_EQ(10U, haploid(2, 0));
}

TEST_F(checkpoint_plan, goes_through_panel_1_where_asked_to) {
    params.use_panel1_for_type0_imputation = true;
    params.selfcheck = 0.0;
    make({70, 20, 10, 0});
    EXPECT_EQ(10U, haploid(1, 0));
    EXPECT_EQ(10U, haploid(2, 1)) << "Panel 1 has the sites of Panel 0, too";
    EXPECT_EQ(0U, haploid(2, 0));
    params.selfcheck = 0.2;
    make({70, 20, 10, 0});
    EXPECT_EQ(10U, haploid(2, 0)) << "the self-check masks by Panel 0";
}

TEST_F(checkpoint_plan, has_haploid_models_of_males) {
    make({70, 20, 10, 0});
    EXPECT_EQ(0U, haploid(1, 1));
    EXPECT_EQ(0U, haploid(2, 2));
    plan.chrx_haploid = true;
    make({70, 20, 10, 0});
    EXPECT_EQ(5U, haploid(1, 1));
    EXPECT_EQ(3U, haploid(2, 2));
    EXPECT_EQ(3U, diploid(2));
}

TEST_F(checkpoint_plan, has_no_diploid_model_of_a_haploid_study) {
    params.haploid_g = true;
    make({70, 20, 10, 0});
    EXPECT_EQ(3U, haploid(2, 2));
    EXPECT_EQ(0U, diploid(2));
}

TEST_F(checkpoint_plan, ends_the_run_where_no_model_of_a_kind_has_a_site) {
    panels[0] = panels[1] = {};
    expect_end(capture, no_sites, 1, [this] { make({9, 9, 0, 0}); });
}

TEST_F(checkpoint_plan, goes_on_where_one_model_of_a_kind_has_sites) {
    make({70, 20, 0, 0});
    EXPECT_EQ(4U, diploid(1));
    EXPECT_EQ(0U, diploid(2));
    EXPECT_EQ("", capture.terminal.str());
}

}  // namespace
