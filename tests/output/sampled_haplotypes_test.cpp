#include "output/sampled_haplotypes.h"

#include "output_fixture.h"

namespace {

class sampled_haplotypes : public output_fixture {};

TEST_F(sampled_haplotypes, each_panel_with_a_name_has_a_file_of_the_sites_that_it_holds) {
    give_study(2);
    run.panels[0].n_hap = 3;
    set_diploids(run.panels[1], 1);
    snp& zero = add_site(110, 0);
    snp& one = add_site(120, 1);
    snp& two = add_site(130, 2);
    zero.labels[1].a0 = no_label;
    allocate();
    set_alleles(0, zero, "011");
    set_alleles(0, one, "100");
    set_alleles(0, two, "111");
    set_alleles(1, one, "01");
    set_alleles(1, two, "10");
    set_alleles(2, two, "0111");
    run.params.hap_samp_out_h = file("h");
    run.params.hap_samp_out_g_ref = file("r");
    run.params.hap_samp_out_g = file("g");
    write_sampled_haplotypes(results, 4);
    EXPECT_EQ(gzip_text_of(file("h_hapsamp5.gz")),
              "--- rs110 110 a0 b0 011\n--- rs120 120 a0 b0 100\nSNP130 rs130 130 a0 b0 111\n");
    EXPECT_EQ(gzip_text_of(file("r_hapsamp5.gz")), "--- rs120 120 a1 b1 01\nSNP130 rs130 130 a1 b1 10\n");
    EXPECT_EQ(gzip_text_of(file("g_hapsamp5.gz")), "SNP130 rs130 130 a2 b2 0111\n");
}

TEST_F(sampled_haplotypes, panels_without_a_name_have_no_file) {
    give_study(1);
    run.params.hap_samp_out_g = file("g");
    write_sampled_haplotypes(results, -1);
    EXPECT_TRUE(exists(file("g_hapsamp0.gz")));
    EXPECT_FALSE(exists("NULL_hapsamp0.gz"));
}

TEST_F(sampled_haplotypes, haploid_male_has_a_dash_without_a_blank) {
    give_ploidies(2, {1, 2, 1});
    snp& site = add_site(130, 2);
    allocate();
    set_alleles(2, site, "1010");
    run.params.hap_samp_out_g = file("g");
    write_sampled_haplotypes(results, 0);
    EXPECT_EQ(gzip_text_of(file("g_hapsamp1.gz")), "SNP130 rs130 130 a2 b2 1-010-\n");
}

TEST_F(sampled_haplotypes, haploid_panel_has_one_character_an_individual) {
    give_study(3);
    run.params.haploid_g = run.panels[2].all_haploid = true;
    run.panels[2].n_hap = 3;
    snp& site = add_site(130, 2);
    allocate();
    set_alleles(2, site, "101");
    run.params.hap_samp_out_g = file("g");
    write_sampled_haplotypes(results, 0);
    EXPECT_EQ(gzip_text_of(file("g_hapsamp1.gz")), "SNP130 rs130 130 a2 b2 101\n");
}

TEST_F(sampled_haplotypes, second_haplotype_file_has_haplotypes_without_individuals) {
    run.params.h_files = {"a", "b"};
    run.panels[1].n_hap = 3;
    snp& site = add_site(130, 1);
    allocate();
    set_alleles(1, site, "110");
    run.params.hap_samp_out_g_ref = file("r");
    write_sampled_haplotypes(results, 0);
    EXPECT_EQ(gzip_text_of(file("r_hapsamp1.gz")), "--- rs130 130 a1 b1 110\n");
}

TEST_F(sampled_haplotypes, interval_of_the_files_and_sites_left_out) {
    give_study(1);
    for (const long position : {60L, 120L, 130L}) add_site(position, position == 130 ? 3 : 2);
    allocate();
    for (const snp* site : run.sites.in_order) set_alleles(2, *site, "01");
    run.params.hap_samp_out_g = file("g");
    run.plan.output_types = {};  // of no bearing
    write_sampled_haplotypes(results, 0);
    EXPECT_EQ(gzip_text_of(file("g_hapsamp1.gz")), "SNP120 rs120 120 a2 b2 01\n");
    run.params.include_buffer_in_output = run.params.include_buffer_in_output_haps_only = true;
    write_sampled_haplotypes(results, 0);
    EXPECT_EQ(gzip_text_of(file("g_hapsamp1.gz")), "SNP60 rs60 60 a2 b2 01\nSNP120 rs120 120 a2 b2 01\n");
}

TEST_F(sampled_haplotypes, panel_that_holds_no_alleles_at_a_site_leaves_it_out) {
    give_study(1);
    add_site(120, 2);
    allocate();
    run.params.hap_samp_out_g = file("g");
    write_sampled_haplotypes(results, 0);
    EXPECT_EQ(gzip_text_of(file("g_hapsamp1.gz")), "");
}

TEST_F(sampled_haplotypes, flipped_coding_shows_in_the_labels) {
    give_study(1);
    snp& site = add_site(120, 2);
    site.allele_flipped[2] = true;
    allocate();
    set_alleles(2, site, "01");
    run.params.hap_samp_out_g = file("g");
    write_sampled_haplotypes(results, 0);
    EXPECT_EQ(gzip_text_of(file("g_hapsamp1.gz")), "SNP120 rs120 120 a2 b2 01\n");
}

TEST_F(sampled_haplotypes, flipped_coding_that_equal_labels_hide_is_undone) {
    give_study(1);
    snp& site = add_site(120, 2);
    site.labels[2].a0 = site.labels[2].a1 = "C";
    site.allele_flipped[2] = true;
    allocate();
    set_alleles(2, site, "11");
    run.params.hap_samp_out_g = file("g");
    write_sampled_haplotypes(results, 0);
    EXPECT_EQ(gzip_text_of(file("g_hapsamp1.gz")), "SNP120 rs120 120 C C 00\n");
}

TEST_F(sampled_haplotypes, first_stage_through_panel_1_keeps_the_study_at_reference_sites) {
    give_study(1);
    snp& zero = add_site(110, 0);
    snp& one = add_site(120, 1);
    allocate();
    set_alleles(2, zero, "01");
    set_alleles(2, one, "10");
    run.params.hap_samp_out_g = file("g");
    run.params.stage_one = true;
    write_sampled_haplotypes(results, 0);
    EXPECT_EQ(gzip_text_of(file("g_hapsamp1.gz")), "");
    run.params.use_panel1_for_type0_imputation = true;
    write_sampled_haplotypes(results, 0);
    EXPECT_EQ(gzip_text_of(file("g_hapsamp1.gz")), "--- rs110 110 a0 b0 01\n");
}

}  // namespace
