#include "reconcile/stages.h"
#include "reconcile_fixture.h"

namespace {

class pack_haplotypes_stage : public reconcile_fixture {
  protected:
    std::vector<int> packed(std::size_t panel, std::size_t hap) const {
        std::vector<int> result;
        for (std::size_t s = 0; s < run.panels[panel].haps.n_sites(); ++s) {
            result.push_back(run.panels[panel].haps.holds(s) ? run.panels[panel].haps.allele(hap, s) : -1);
        }
        return result;
    }
};

TEST_F(pack_haplotypes_stage, sites_are_listed_in_the_order_of_the_store) {
    add_site(150, 0).rs_id = "c";
    add_site(110, 0).rs_id = "a";
    add_site(150, 3).rs_id = "d";
    add_site(120, 0).rs_id = "b";
    pack_haplotypes(run.params, run.plan, run.panels, run.sites);
    EXPECT_EQ((std::vector<long>{110, 120, 150, 150}), run.sites.positions);
    ASSERT_EQ(4U, run.sites.in_order.size());
    std::string ids;
    for (std::size_t s = 0; s < run.sites.in_order.size(); ++s) {
        ids += run.sites.in_order[s]->rs_id;
        EXPECT_EQ(static_cast<int>(s), run.sites.in_order[s]->index);
    }
    EXPECT_EQ("abcd", ids);
}

TEST_F(pack_haplotypes_stage, each_panel_keeps_its_alleles_and_its_sites) {
    give_panel0(2);
    give_panel1(1);
    give_study(1);
    snp& type2 = add_site(110, 2);
    type2.haps = {alleles("01"), alleles("10"), alleles("11")};
    snp& type1 = add_site(120, 1);
    type1.haps = {alleles("11"), alleles("01"), allele_row()};
    snp& type0 = add_site(130, 0);
    type0.haps = {alleles("10"), allele_row(), allele_row()};
    pack_haplotypes(run.params, run.plan, run.panels, run.sites);
    EXPECT_EQ((std::vector<int>{0, 1, 1}), packed(0, 0));
    EXPECT_EQ((std::vector<int>{1, 1, 0}), packed(0, 1));
    EXPECT_EQ((std::vector<int>{1, 0, -1}), packed(1, 0));
    EXPECT_EQ((std::vector<int>{0, 1, -1}), packed(1, 1));
    EXPECT_EQ((std::vector<int>{1, -1, -1}), packed(2, 0));
    EXPECT_EQ((std::vector<int>{1, -1, -1}), packed(2, 1));
}

TEST_F(pack_haplotypes_stage, large_panels_are_packed_in_full) {
    const auto allele = [](std::size_t hap, std::size_t site) { return (hap * 7 + site * 13) % 5 < 2 ? 1 : 0; };
    give_panel0(150);
    for (std::size_t s = 0; s < 200; ++s) {
        snp& site = add_site(static_cast<long>(100 + s), 0);
        site.haps[0] = allele_row(150, 0);
        for (std::size_t h = 0; h < 150; ++h) site.haps[0].set(h, allele(h, s));
    }
    pack_haplotypes(run.params, run.plan, run.panels, run.sites);
    ASSERT_EQ(150U, run.panels[0].haps.n_hap());
    ASSERT_EQ(200U, run.panels[0].haps.n_sites());
    int n_wrong = 0;
    for (std::size_t s = 0; s < 200; ++s) {
        for (std::size_t h = 0; h < 150; ++h) n_wrong += run.panels[0].haps.allele(h, s) != allele(h, s) ? 1 : 0;
    }
    EXPECT_EQ(0, n_wrong);
}

TEST_F(pack_haplotypes_stage, missing_alleles_of_panel_0_are_kept_beside_the_guesses) {
    give_panel0(3);
    snp& guessed = add_site(110, 0);
    guessed.haps[0] = alleles("011");
    guessed.ref_missing = {0b101};
    add_site(120, 0).haps[0] = alleles("111");
    pack_haplotypes(run.params, run.plan, run.panels, run.sites);
    ASSERT_EQ(3U, run.panels[0].missing.n_hap());
    ASSERT_EQ(2U, run.panels[0].missing.n_sites());
    for (std::size_t h = 0; h < 3; ++h) {
        EXPECT_EQ(h != 1 ? 1 : 0, run.panels[0].missing.allele(h, 0));
        EXPECT_EQ(0, run.panels[0].missing.allele(h, 1));
    }
    EXPECT_EQ((std::vector<int>{1, 1}), packed(0, 2));
}

TEST_F(pack_haplotypes_stage, missing_alleles_that_nobody_guessed_are_packed_as_0) {
    give_panel0(2);
    snp& hole = add_site(110, 1);
    hole.ref_alleles_missing = true;
    hole.haps[0] = alleles("22");
    pack_haplotypes(run.params, run.plan, run.panels, run.sites);
    EXPECT_EQ((std::vector<int>{0}), packed(0, 1));
    EXPECT_EQ(1, run.panels[0].missing.allele(0, 0));
    EXPECT_EQ(1, run.panels[0].missing.allele(1, 0));
}

TEST_F(pack_haplotypes_stage, a_full_panel_0_has_no_missing_rows) {
    give_panel0(2);
    give_study(1);
    snp& site = add_site(110, 2);
    site.haps[0] = alleles("01");
    site.haps[0].set(0, 2);
    site.haps[0].set(0, 1);
    site.haps[2] = alleles("22");
    pack_haplotypes(run.params, run.plan, run.panels, run.sites);
    EXPECT_EQ(0U, run.panels[0].missing.n_hap());
    EXPECT_EQ(0U, run.panels[0].missing.n_sites());
}

TEST_F(pack_haplotypes_stage, rows_of_the_sites_are_released) {
    give_panel0(2);
    give_study(1);
    snp& site = add_site(110, 2);
    site.haps[0] = alleles("02");
    site.haps[2] = alleles("01");
    site.ref_missing = {2};
    pack_haplotypes(run.params, run.plan, run.panels, run.sites);
    for (const allele_row& row : site.haps) EXPECT_TRUE(row.empty());
    EXPECT_TRUE(site.ref_missing.empty());
}

TEST_F(pack_haplotypes_stage, the_study_of_a_phasing_run_has_zeros_at_reference_sites) {
    give_panel0(2);
    give_study(1);
    run.params.phase = true;
    for (const int type : {0, 1, 2, 3}) add_site(110 + type, type).haps[0] = alleles("11");
    site_at(112).haps[2] = alleles("11");
    pack_haplotypes(run.params, run.plan, run.panels, run.sites);
    EXPECT_EQ((std::vector<int>{0, 0, 1, -1}), packed(2, 0));
    EXPECT_EQ((std::vector<int>{0, 0, 1, -1}), packed(2, 1));
}

TEST_F(pack_haplotypes_stage, panel_1_has_zeros_at_sites_that_it_imputes) {
    give_panel0(2);
    give_panel1(1);
    snp& imputed = add_site(110, 0);
    imputed.top_panel = 1;
    add_site(120, 0);
    pack_haplotypes(run.params, run.plan, run.panels, run.sites);
    EXPECT_EQ((std::vector<int>{0, -1}), packed(1, 0));
    EXPECT_EQ((std::vector<int>{0, -1}), packed(1, 1));
}

}  // namespace
