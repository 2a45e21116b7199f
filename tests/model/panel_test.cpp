#include "model/panel.h"

#include <gtest/gtest.h>

#include "support/run_builder.h"

namespace {

TEST(panel, of_diploids_has_two_haplotypes_an_individual) {
    panel_data panel;
    set_diploids(panel, 3);
    EXPECT_EQ(4U, panel.first_hap(2));
    EXPECT_EQ(10U, panel.count_haplotypes(5));
    EXPECT_FALSE(panel.is_haploid(2));
    EXPECT_FALSE(panel.any_haploid());
}

TEST(panel, of_haploids_has_one_haplotype_an_individual) {
    panel_data panel;
    panel.all_haploid = true;
    EXPECT_EQ(2U, panel.first_hap(2));
    EXPECT_EQ(5U, panel.count_haplotypes(5));
    EXPECT_TRUE(panel.is_haploid(2));
    EXPECT_FALSE(panel.is_haploid_male(2)) << "whatever the sex";
    EXPECT_TRUE(panel.any_haploid());
}

TEST(panel, whose_sexes_differ_has_one_haplotype_a_male) {
    panel_data panel;
    panel.sexes_differ = true;
    set_sexes(panel, {2, 1, 1, 2});
    EXPECT_EQ(0U, panel.first_hap(0));
    EXPECT_EQ(2U, panel.first_hap(1));
    EXPECT_EQ(3U, panel.first_hap(2));
    EXPECT_EQ(4U, panel.first_hap(3));
    EXPECT_EQ(6U, panel.count_haplotypes(4));
    EXPECT_FALSE(panel.is_haploid(0));
    EXPECT_TRUE(panel.is_haploid(1));
    EXPECT_TRUE(panel.is_haploid_male(2));
    EXPECT_TRUE(panel.any_haploid());
}

TEST(panel, of_females_has_nobody_haploid) {
    panel_data panel;
    panel.sexes_differ = true;
    set_sexes(panel, {2, 2});
    EXPECT_FALSE(panel.any_haploid());
    EXPECT_EQ(4U, panel.count_haplotypes(2));
}

TEST(panel, males_are_diploid_where_sexes_do_not_differ) {
    panel_data panel;
    set_sexes(panel, {1, 2});
    EXPECT_TRUE(panel.is_male(0));
    EXPECT_FALSE(panel.is_male(1));
    EXPECT_FALSE(panel.is_haploid(0));
    EXPECT_FALSE(panel.any_haploid());
    EXPECT_EQ(2U, panel.first_hap(1));
    EXPECT_EQ(4U, panel.count_haplotypes(2));
}

TEST(panel, without_sexes_has_no_males) {
    EXPECT_FALSE(panel_data().is_male(0));
}

TEST(panels, show_their_haplotypes_by_index) {
    panel_array panels;
    const haplotypes_by_panel haps = haplotypes_of(panels);
    for (std::size_t p = 0; p < 3; ++p) EXPECT_EQ(&panels[p].haps, haps[p]);
}

}  // namespace
