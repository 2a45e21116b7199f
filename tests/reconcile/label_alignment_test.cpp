#include "reconcile/label_alignment.h"

#include "reconcile/stages.h"
#include "reconcile_fixture.h"

namespace {

panel_labels pair_of(const std::string& a0, const std::string& a1) {
    return {a0, a1, "*", 0.5};
}

TEST(label_rules, crossed_means_both_in_the_other_order) {
    EXPECT_TRUE(labels_are_crossed(pair_of("C", "A"), pair_of("A", "C")));
    EXPECT_FALSE(labels_are_crossed(pair_of("A", "C"), pair_of("A", "C")));
    EXPECT_FALSE(labels_are_crossed(pair_of("C", "G"), pair_of("A", "C")));
    EXPECT_TRUE(labels_are_crossed(pair_of("AT", "A"), pair_of("A", "AT")));
}

TEST(label_rules, a_single_allele_is_crossed_when_it_is_allele_1) {
    EXPECT_TRUE(labels_are_crossed(pair_of("C", "C"), pair_of("A", "C")));
    EXPECT_FALSE(labels_are_crossed(pair_of("A", "A"), pair_of("A", "C")));
    EXPECT_FALSE(labels_are_crossed(pair_of("G", "G"), pair_of("A", "C")));
}

TEST(label_rules, agreement_ignores_the_order_of_bases) {
    EXPECT_TRUE(labels_agree(pair_of("C", "A"), pair_of("A", "C")));
    EXPECT_TRUE(labels_agree(pair_of("T", "A"), pair_of("A", "T")));
    EXPECT_FALSE(labels_agree(pair_of("A", "G"), pair_of("A", "C")));
}

TEST(label_rules, a_single_allele_agrees_when_the_reference_has_it) {
    EXPECT_TRUE(labels_agree(pair_of("A", "A"), pair_of("A", "G")));
    EXPECT_TRUE(labels_agree(pair_of("G", "G"), pair_of("A", "G")));
    EXPECT_FALSE(labels_agree(pair_of("T", "T"), pair_of("A", "G")));
}

TEST(label_rules, reference_panel_is_the_first_with_both_labels) {
    snp site;
    EXPECT_FALSE(reference_panel(site));
    site.labels[1] = pair_of("A", "C");
    EXPECT_EQ(1U, reference_panel(site));
    site.labels[0].a0 = "A";
    EXPECT_EQ(1U, reference_panel(site));
    site.labels[0].a1 = "C";
    EXPECT_EQ(0U, reference_panel(site));
}

class label_stages : public reconcile_fixture {
  protected:
    // A site of all panels with Panel 0 labels A, C and the given ones elsewhere.
    snp& add_full_site(long position, const panel_labels& panel1, const panel_labels& panel2, int type = 2) {
        snp& site = add_site(position, type);
        label(site, 0, "A", "C", 0.25);
        site.labels[1] = panel1;
        site.labels[2] = panel2;
        site.haps[0] = alleles("0120");
        site.haps[1] = alleles("0122");
        site.haps[2] = alleles("1120");
        site.gtypes[1] = {1, 3};
        site.gtypes[2] = {2, 3};
        site.gtype_probs[1] = {0.1F, 0.2F, 0.7F, 0.0F, 1.0F, 0.0F};
        site.gtype_probs[2] = {0.7F, 0.2F, 0.1F, 0.0F, 0.4F, 0.6F};
        return site;
    }
    void give_all_panels() {
        give_panel0(4);
        give_panel1(2);
        give_study(2);
    }
};

TEST_F(label_stages, stage_line_stands_without_a_site) {
    align_labels(run.log, run.params, run.sites);
    expect_log("\n-aligning allele labels between panels\n");
}

TEST_F(label_stages, crossed_study_is_recoded) {
    give_all_panels();
    snp& site = add_full_site(110, {"A", "C", "*", 0.5}, {"C", "A", "+", 0.75});
    align_labels(run.log, run.params, run.sites);
    EXPECT_EQ("A", site.labels[2].a0);
    EXPECT_EQ("C", site.labels[2].a1);
    EXPECT_EQ("+", site.labels[2].strand);
    EXPECT_EQ(0.25, site.labels[2].freq);
    EXPECT_EQ((std::vector<std::uint8_t>{0, 3}), site.gtypes[2]);
    EXPECT_EQ((std::vector<float>{0.1F, 0.2F, 0.7F, 0.6F, 0.4F, 0.0F}), site.gtype_probs[2]);
    EXPECT_EQ((std::vector<int>{0, 0, 2, 1}), values(site.haps[2]));
    EXPECT_EQ((std::array<bool, 3>{false, false, true}), site.allele_flipped);
    EXPECT_EQ((std::vector<int>{0, 1, 2, 2}), values(site.haps[1]));
    EXPECT_EQ((std::vector<int>{0, 1, 2, 0}), values(site.haps[0]));
}

TEST_F(label_stages, crossed_panel_1_is_recoded) {
    give_all_panels();
    snp& site = add_full_site(110, {"C", "A", "*", 0.75}, {no_label, no_label, "*", -1.0}, 1);
    align_labels(run.log, run.params, run.sites);
    EXPECT_EQ("A", site.labels[1].a0);
    EXPECT_EQ(0.25, site.labels[1].freq);
    EXPECT_EQ((std::vector<std::uint8_t>{1, 3}), site.gtypes[1]);
    EXPECT_EQ((std::vector<float>{0.7F, 0.2F, 0.1F, 0.0F, 1.0F, 0.0F}), site.gtype_probs[1]);
    EXPECT_EQ((std::vector<int>{1, 0, 2, 2}), values(site.haps[1]));
    EXPECT_EQ((std::array<bool, 3>{false, true, false}), site.allele_flipped);
    EXPECT_EQ(no_label, site.labels[2].a0);
}

TEST_F(label_stages, both_panels_can_be_recoded_at_one_site) {
    give_all_panels();
    snp& site = add_full_site(110, {"C", "A", "*", 0.75}, {"C", "C", "*", 0.5});
    align_labels(run.log, run.params, run.sites);
    EXPECT_EQ((std::array<bool, 3>{false, true, true}), site.allele_flipped);
    EXPECT_EQ("C", site.labels[2].a0);
    EXPECT_EQ("C", site.labels[2].a1);
    EXPECT_EQ((std::vector<std::uint8_t>{0, 3}), site.gtypes[2]);
}

TEST_F(label_stages, labels_in_order_and_labels_that_do_not_fit_stay) {
    give_all_panels();
    snp& straight = add_full_site(110, {"A", "C", "*", 0.5}, {"A", "C", "*", 0.75});
    snp& misfit = add_full_site(120, {"G", "A", "*", 0.5}, {"C", "G", "*", 0.75});
    align_labels(run.log, run.params, run.sites);
    for (const snp* site : {&straight, &misfit}) {
        EXPECT_EQ((std::array<bool, 3>{}), site->allele_flipped);
        EXPECT_EQ((std::vector<std::uint8_t>{2, 3}), site->gtypes[2]);
        EXPECT_EQ(0.75, site->labels[2].freq);
    }
}

TEST_F(label_stages, sites_of_one_panel_alone_stay) {
    give_all_panels();
    snp& type0 = add_full_site(110, {"C", "A", "*", 0.5}, {"C", "A", "*", 0.75}, 0);
    snp& type3 = add_full_site(120, {"C", "A", "*", 0.5}, {"C", "A", "*", 0.75}, 3);
    align_labels(run.log, run.params, run.sites);
    EXPECT_EQ((std::array<bool, 3>{}), type0.allele_flipped);
    EXPECT_EQ((std::array<bool, 3>{}), type3.allele_flipped);
}

TEST_F(label_stages, panel_1_sets_the_standard_where_panel_0_has_no_labels) {
    give_panel1(2);
    give_study(2);
    snp& site = add_site(110, 2);
    label(site, 1, "C", "A");
    label(site, 2, "A", "C", 0.125);
    site.gtypes[1] = {0, 1};
    site.gtypes[2] = {0, 1};
    snp& bare = add_site(120, 2);
    label(bare, 2, "A", "C");
    align_labels(run.log, run.params, run.sites);
    EXPECT_EQ((std::array<bool, 3>{false, false, true}), site.allele_flipped);
    EXPECT_EQ((std::vector<std::uint8_t>{2, 1}), site.gtypes[2]);
    EXPECT_EQ((std::vector<std::uint8_t>{0, 1}), site.gtypes[1]);
    EXPECT_EQ((std::array<bool, 3>{}), bare.allele_flipped);
}

TEST_F(label_stages, unknown_frequency_stays_unknown) {
    give_all_panels();
    snp& site = add_full_site(110, {"C", "A", "*", -1.0}, {"C", "A", "*", -1.0});
    align_labels(run.log, run.params, run.sites);
    EXPECT_EQ(-1.0, site.labels[1].freq);
    EXPECT_EQ(-1.0, site.labels[2].freq);
}

TEST_F(label_stages, genotype_codes_are_not_touched_in_runs_on_probabilities) {
    give_all_panels();
    run.params.prob_g = run.params.prob_g_ref = true;
    snp& site = add_full_site(110, {"C", "A", "*", 0.5}, {"C", "A", "*", 0.5});
    site.gtypes[1] = {0, 0};
    align_labels(run.log, run.params, run.sites);
    EXPECT_EQ((std::vector<std::uint8_t>{0, 0}), site.gtypes[1]);
    EXPECT_EQ((std::vector<std::uint8_t>{2, 3}), site.gtypes[2]);
    EXPECT_EQ((std::vector<float>{0.1F, 0.2F, 0.7F, 0.6F, 0.4F, 0.0F}), site.gtype_probs[2]);
    EXPECT_EQ((std::vector<float>{0.7F, 0.2F, 0.1F, 0.0F, 1.0F, 0.0F}), site.gtype_probs[1]);
}

TEST_F(label_stages, sampled_panel_1_keeps_its_genotypes) {
    give_all_panels();
    run.params.hap_samp_in_g_ref = "samples";
    snp& site = add_full_site(110, {"C", "A", "*", 0.5}, {"A", "C", "*", 0.5});
    site.gtypes[1] = {0, 2};
    align_labels(run.log, run.params, run.sites);
    EXPECT_EQ((std::vector<std::uint8_t>{0, 2}), site.gtypes[1]);
    EXPECT_EQ((std::vector<int>{1, 0, 2, 2}), values(site.haps[1]));
    EXPECT_TRUE(site.allele_flipped[1]);
}

TEST_F(label_stages, placeholder_of_panel_1_keeps_its_genotypes) {
    give_all_panels();
    snp& site = add_full_site(110, {"C", "A", "*", 0.5}, {"A", "C", "*", 0.5});
    site.panel1_placeholder = true;
    site.gtypes[1] = {0, 2};
    align_labels(run.log, run.params, run.sites);
    EXPECT_EQ((std::vector<std::uint8_t>{0, 2}), site.gtypes[1]);
    EXPECT_TRUE(site.allele_flipped[1]);
}

TEST_F(label_stages, haplotypes_of_a_second_file_are_recoded) {
    give_panel0(4);
    give_second_haplotypes(4);
    snp& site = add_site(110, 1);
    label(site, 0, "A", "C");
    label(site, 1, "C", "A", 0.25);
    site.haps[1] = alleles("0111");
    align_labels(run.log, run.params, run.sites);
    EXPECT_EQ((std::vector<int>{1, 0, 0, 0}), values(site.haps[1]));
    EXPECT_EQ(0.75, site.labels[1].freq);
}

TEST_F(label_stages, removal_names_the_study_first) {
    give_all_panels();
    add_full_site(110, {"A", "G", "*", 0.5}, {"T", "G", "*", 0.5});
    add_full_site(120, {"A", "C", "*", 0.5}, {"A", "C", "*", 0.5});
    remove_non_aligned(run.log, run.params, run.sites);
    EXPECT_EQ((std::vector<long>{120}), positions());
    expect_log(
        "\n-removing non-aligned genotyped SNPs\n"
        " --removing SNP snp110 at position 110: Panel 2 alleles GT != Panel 0 alleles AC\n"
        " --removed 1 out of 2 SNPs with data in multiple panels\n");
}

TEST_F(label_stages, removal_tests_panel_1_against_panel_0) {
    give_all_panels();
    add_full_site(110, {"A", "G", "*", 0.5}, {"A", "C", "*", 0.5});
    add_full_site(120, {"A", "G", "*", 0.5}, {no_label, no_label, "*", -1.0}, 1);
    remove_non_aligned(run.log, run.params, run.sites);
    EXPECT_TRUE(run.sites.store.empty());
    expect_log(
        "\n-removing non-aligned genotyped SNPs\n"
        " --removing SNP snp110 at position 110: Panel 1 alleles AG != Panel 0 alleles AC\n"
        " --removing SNP snp120 at position 120: Panel 1 alleles AG != Panel 0 alleles AC\n"
        " --removed 2 out of 2 SNPs with data in multiple panels\n");
}

TEST_F(label_stages, removal_tests_the_study_against_a_lone_panel_1) {
    give_panel1(2);
    give_study(2);
    snp& site = add_site(110, 2);
    label(site, 1, "A", "C");
    label(site, 2, "A", "T");
    remove_non_aligned(run.log, run.params, run.sites);
    EXPECT_TRUE(run.sites.store.empty());
    EXPECT_NE(std::string::npos, terminal_text().find(": Panel 2 alleles AT != Panel 1 alleles AC\n"));
}

TEST_F(label_stages, removal_passes_sites_of_one_panel_alone) {
    give_all_panels();
    add_full_site(110, {"A", "G", "*", 0.5}, {"A", "G", "*", 0.5}, 0);
    add_full_site(120, {"A", "G", "*", 0.5}, {"A", "G", "*", 0.5}, 3);
    remove_non_aligned(run.log, run.params, run.sites);
    EXPECT_EQ((std::vector<long>{110, 120}), positions());
    EXPECT_NE(std::string::npos, terminal_text().find(" --removed 0 out of 0 SNPs with data in multiple panels\n"));
}

TEST_F(label_stages, removal_drops_sites_without_a_reference_in_silence) {
    give_all_panels();
    label(add_site(110, 2), 2, "A", "C");
    remove_non_aligned(run.log, run.params, run.sites);
    EXPECT_TRUE(run.sites.store.empty());
    expect_log(
        "\n-removing non-aligned genotyped SNPs\n"
        " --removed 0 out of 0 SNPs with data in multiple panels\n");
}

TEST_F(label_stages, a_flipped_single_allele_passes_when_the_reference_has_it) {
    give_panel0(4);
    give_study(2);
    snp& mended = add_site(110, 2);
    label(mended, 0, "C", "T");
    label(mended, 2, "A", "A", 0.0);
    mended.gtypes[2] = {0, 0};
    mended.haps[2] = alleles("0000");
    snp& straight = add_site(120, 2);
    label(straight, 0, "A", "G");
    label(straight, 2, "A", "A", 0.0);
    snp& lost = add_site(130, 2);
    label(lost, 0, "C", "G");
    label(lost, 2, "A", "A", 0.0);
    check_strand_of_panel2(run.log, run.params, run.sites);
    align_labels(run.log, run.params, run.sites);
    remove_non_aligned(run.log, run.params, run.sites);
    EXPECT_EQ((std::vector<long>{110, 120}), positions());
    EXPECT_EQ("T", mended.labels[2].a0);
    EXPECT_EQ((std::vector<std::uint8_t>{2, 2}), mended.gtypes[2]);
    EXPECT_EQ((std::vector<int>{1, 1, 1, 1}), values(mended.haps[2]));
    EXPECT_NE(std::string::npos, terminal_text().find(": Panel 2 alleles AA != Panel 0 alleles CG\n"));
}

TEST_F(label_stages, a_mismatch_that_no_flip_mends_is_removed) {
    give_panel0(4);
    give_study(2);
    snp& site = add_site(110, 2);
    label(site, 0, "A", "G");
    label(site, 2, "A", "C");
    check_strand_of_panel2(run.log, run.params, run.sites);
    EXPECT_EQ("A", site.labels[2].a0);
    EXPECT_EQ("C", site.labels[2].a1);
    remove_non_aligned(run.log, run.params, run.sites);
    EXPECT_TRUE(run.sites.store.empty());
}

}  // namespace
