#include "output/phased_haplotypes.h"

#include "output_fixture.h"

namespace {

class phased_haplotypes : public output_fixture {
  protected:
    std::string haps() { return text_of(path("_haps")); }
    std::string alleles(std::size_t line = 0) { return fields_of(path("_haps"), line, 5); }
};

TEST_F(phased_haplotypes, two_alleles_an_individual_behind_five_columns) {
    give_study(2);
    snp& site = add_site(120, 2);
    allocate();
    set_alleles(2, site, "0110");
    write_phased_haplotypes(results);
    EXPECT_EQ(haps(), "SNP120 rs120 120 a0 b0 0 1 1 0\n");
}

TEST_F(phased_haplotypes, haploid_male_has_a_dash_for_the_second) {
    give_ploidies(2, {1, 2, 1});
    snp& site = add_site(120, 2);
    allocate();
    set_alleles(2, site, "1101");
    write_phased_haplotypes(results);
    EXPECT_EQ(alleles(), "1 - 1 0 1 -");
}

TEST_F(phased_haplotypes, haploid_panel_has_one_field) {
    give_study(2);
    run.params.haploid_g = run.panels[2].all_haploid = true;
    snp& site = add_site(120, 2);
    allocate();
    set_alleles(2, site, "10");
    write_phased_haplotypes(results);
    EXPECT_EQ(alleles(), "1 0");
}

TEST_F(phased_haplotypes, imputed_sites_are_written_when_sampled_or_when_everybody_is_known) {
    give_study(1);
    snp& imputed = add_site(110, 1);
    add_site(120, 2);
    allocate();
    set_alleles(2, imputed, "11");
    write_phased_haplotypes(results);
    EXPECT_EQ(haps(), "SNP120 rs120 120 a0 b0 0 0\n");
    run.params.mc_impute = true;
    write_phased_haplotypes(results);
    EXPECT_EQ(haps(), "--- rs110 110 a0 b0 1 1\nSNP120 rs120 120 a0 b0 0 0\n");
    run.params.mc_impute = false;
    run.panels[2].ordered = {true};
    write_phased_haplotypes(results);
    EXPECT_EQ(alleles(0), "1 1");
    run.plan.output_types[1] = false;
    write_phased_haplotypes(results);
    EXPECT_EQ(haps(), "SNP120 rs120 120 a0 b0 0 0\n");
}

TEST_F(phased_haplotypes, study_only_sites_are_left_out_by_default) {
    give_study(1);
    add_genotypes(add_site(120, 3), {1});
    allocate();
    write_phased_haplotypes(results);
    EXPECT_EQ(haps(), "");
}

TEST_F(phased_haplotypes, unphased_sites_have_marked_alleles) {
    give_study(5);
    snp& site = add_site(120, 3);
    site.gtype_probs[2] = {1.0F, 0.0F, 0.0F, 0.0F, 1.0F, 0.0F, 0.0F, 0.0F, 1.0F, 0.4F, 0.4F, 0.2F, 0.2F, 0.3F, 0.5F};
    allocate();
    run.params.include_unphased_sites_in_output_haps = true;
    write_phased_haplotypes(results);
    EXPECT_EQ(haps(), "SNP120 rs120 120 a2 b2 0* 0* 0* 1* 1* 1* 0* 0* 1* 1*\n");
}

TEST_F(phased_haplotypes, unphased_sites_whose_input_was_not_kept_have_the_genotypes) {
    give_study(2);
    add_site(120, 3).gtypes[2] = {1, 2};
    allocate();
    run.params.include_unphased_sites_in_output_haps = true;
    write_phased_haplotypes(results);
    EXPECT_EQ(alleles(), "0* 1* 1* 1*");
}

TEST_F(phased_haplotypes, unphased_sites_without_input_are_unknown) {
    give_study(1);
    add_site(120, 3);
    allocate();
    run.params.include_unphased_sites_in_output_haps = true;
    write_phased_haplotypes(results);
    EXPECT_EQ(alleles(), "X* X*");
}

TEST_F(phased_haplotypes, study_only_sites_of_a_prephased_run_have_plain_alleles) {
    give_study(1);
    snp& site = add_site(120, 3);
    add_genotypes(site, {1});
    allocate();
    set_alleles(2, site, "10");
    run.params.use_prephased_g = run.params.include_unphased_sites_in_output_haps = true;
    write_phased_haplotypes(results);
    EXPECT_EQ(alleles(), "1 0");
}

TEST_F(phased_haplotypes, interval_is_the_buffer_when_it_is_included_anywhere) {
    give_study(1);
    add_site(60, 2);
    allocate();
    write_phased_haplotypes(results);
    EXPECT_EQ(haps(), "");
    run.params.include_buffer_in_output = run.params.include_buffer_in_output_haps_only = true;
    write_phased_haplotypes(results);
    EXPECT_EQ(haps(), "SNP60 rs60 60 a0 b0 0 0\n");
}

TEST_F(phased_haplotypes, sites_beyond_64_keep_their_alleles) {
    give_study(40);
    for (int k = 0; k < 70; ++k) add_site(110 + k, 2);
    allocate();
    for (std::size_t h = 0; h < 80; ++h) {
        for (std::size_t s = 0; s < 70; ++s) run.panels[2].haps.set(h, s, (h * 7 + s * 3) % 5 == 0 ? 1 : 0);
    }
    write_phased_haplotypes(results);
    for (std::size_t s = 0; s < 70; ++s) {
        std::string expected;
        for (std::size_t h = 0; h < 80; ++h)
            expected += std::string(h == 0 ? "" : " ") + ((h * 7 + s * 3) % 5 == 0 ? "1" : "0");
        ASSERT_EQ(alleles(s), expected) << s;
    }
}

TEST_F(phased_haplotypes, file_is_compressed_under_o_gz) {
    give_study(1);
    run.params.o_gz = true;
    add_site(120, 2);
    allocate();
    write_phased_haplotypes(results);
    EXPECT_EQ(gzip_text_of(path("_haps.gz")), "SNP120 rs120 120 a0 b0 0 0\n");
}

}  // namespace
