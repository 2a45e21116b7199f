#include "reconcile/model_sites.h"

#include <gtest/gtest.h>

#include <vector>

#include "support/run_builder.h"

namespace {

using list = std::vector<std::size_t>;

// Sites, in order: 0 of Panel 0; 1 of Panel 0, imputed through Panel 1; 2 of Panel 1; 3 typed; 4 typed, with a
// placeholder in Panel 1; 5 typed, a hole of the reference; 6 of the study alone.
class model_sites : public ::testing::Test {
  protected:
    void SetUp() override {
        plan.n_panels = 3;
        long position = 100;
        for (const std::size_t type : {0, 0, 1, 2, 2, 2, 3}) add_site(sites, position++, type);
        list_sites(sites);
        sites.in_order[1]->top_panel = 1;
        sites.in_order[4]->panel1_placeholder = true;
        sites.in_order[5]->ref_alleles_missing = true;
    }
    void fill_holes(std::size_t to, std::size_t from) {
        plan.fill_holes = true;
        plan.hole_fill_to = to;
        plan.hole_fill_from = from;
    }
    const list& haploid(std::size_t panel, std::size_t cond) const { return models.chains[0][panel][cond].site; }
    const list& diploid(std::size_t panel) const { return models.chains[1][panel][panel].site; }
    run_plan plan;
    site_table sites;
    copying_models models;
};

TEST_F(model_sites, of_haploid_models_are_those_up_to_the_copied_panel) {
    list_model_sites(plan, sites, models);
    for (std::size_t panel = 0; panel < 3; ++panel) {
        EXPECT_EQ((list{0, 1, 2, 3, 4, 5}), haploid(panel, 0)) << "panel " << panel;
    }
    for (std::size_t panel = 1; panel < 3; ++panel) {
        EXPECT_EQ((list{1, 2, 3, 4, 5}), haploid(panel, 1)) << "panel " << panel;
    }
    EXPECT_EQ((list{3, 4, 5}), haploid(2, 2));
}

TEST_F(model_sites, of_panels_above_their_own_are_none) {
    list_model_sites(plan, sites, models);
    EXPECT_EQ(list{}, haploid(0, 1));
    EXPECT_EQ(list{}, haploid(1, 2));
    EXPECT_EQ(list{}, diploid(0));
    EXPECT_EQ(list{}, models.chains[1][2][1].site);
}

TEST_F(model_sites, of_diploid_models_go_by_type_and_pass_over_placeholders_of_panel_1) {
    list_model_sites(plan, sites, models);
    EXPECT_EQ((list{2, 3, 5}), diploid(1));
    EXPECT_EQ((list{3, 4, 5}), diploid(2));
}

TEST_F(model_sites, of_the_study_alone_are_modelled_without_a_reference) {
    plan.n_panels = 4;
    list_model_sites(plan, sites, models);
    EXPECT_EQ((list{3, 4, 5, 6}), diploid(2));
    EXPECT_EQ((list{3, 4, 5, 6}), haploid(2, 2));
}

TEST_F(model_sites, of_a_panel_whose_holes_are_filled_leave_the_holes_out) {
    fill_holes(0, 2);
    list_model_sites(plan, sites, models);
    EXPECT_EQ((list{0, 1, 2, 3, 4}), haploid(0, 0));
    EXPECT_EQ((list{0, 1, 2, 3, 4, 5}), haploid(2, 0)) << "others go by all sites";
    EXPECT_EQ((list{2, 3, 5}), diploid(1));
    fill_holes(1, 2);
    list_model_sites(plan, sites, models);
    EXPECT_EQ((list{1, 2, 3, 4}), haploid(1, 1));
    EXPECT_EQ((list{2, 3}), diploid(1));
    EXPECT_EQ((list{0, 1, 2, 3, 4, 5}), haploid(0, 0));
}

TEST_F(model_sites, of_hole_filling_are_those_of_the_panel_that_fills) {
    fill_holes(0, 1);
    list_model_sites(plan, sites, models);
    EXPECT_EQ((list{2, 3, 5}), models.hole_chains[0][0][1].site);
    EXPECT_EQ(3U, models.hole_chains[0][0][1].hap_gap.size());
    fill_holes(1, 2);
    list_model_sites(plan, sites, models);
    EXPECT_EQ((list{3, 4, 5}), models.hole_chains[0][1][2].site);
}

TEST_F(model_sites, of_hole_filling_are_none_where_it_was_given_up) {
    fill_holes(0, 1);
    plan.fill_holes = false;
    list_model_sites(plan, sites, models);
    EXPECT_EQ(list{}, models.hole_chains[0][0][1].site);
}

TEST_F(model_sites, have_their_traits_apart) {
    list_traits(sites);
    ASSERT_EQ(7U, sites.traits.size());
    EXPECT_EQ(0, sites.traits[1].type);
    EXPECT_EQ(1, sites.traits[1].top_panel);
    EXPECT_EQ(3, sites.traits[6].type);
    for (std::size_t s = 0; s < 7; ++s) {
        EXPECT_EQ(s == 4, sites.traits[s].panel1_placeholder);
        EXPECT_EQ(s == 5, sites.traits[s].ref_alleles_missing);
    }
}

}  // namespace
