#include "output/allele_probabilities.h"

#include "output_fixture.h"

namespace {

class allele_probabilities : public output_fixture {
  protected:
    void know(const std::vector<bool>& known) { run.panels[2].ordered = known; }
    void add_allele_sums(const snp& site, std::size_t slot, double first, double second) {
        run.acc.gtype_acc2[0].add(slot, at(site), first);
        run.acc.gtype_acc2[1].add(slot, at(site), second);
    }
    std::string text() { return text_of(path("_allele_probs")); }
    std::string values(std::size_t line = 0) { return fields_of(path("_allele_probs"), line, 5); }
};

TEST_F(allele_probabilities, no_file_without_known_haplotypes_or_under_mc_impute) {
    give_study(1);
    write_allele_probabilities(results);
    EXPECT_FALSE(exists(path("_allele_probs")));
    know({true});
    run.params.mc_impute = true;
    write_allele_probabilities(results);
    EXPECT_FALSE(exists(path("_allele_probs")));
}

TEST_F(allele_probabilities, known_individuals_have_two_values_and_others_dashes) {
    give_study(3);
    know({true, false, true});
    snp& site = add_site(120, 2);
    allocate();
    add_allele_sums(site, 0, 0.25, 1.999);
    add_allele_sums(site, 1, 0.001, 1.0);
    write_allele_probabilities(results);
    EXPECT_EQ(text(), "SNP120 rs120 120 a0 b0 0.125 1 - - 0 0.500\n");
}

TEST_F(allele_probabilities, outdp_gives_the_decimals) {
    give_study(1);
    know({true});
    snp& site = add_site(120, 2);
    allocate();
    run.params.outdp = 6;
    add_allele_sums(site, 0, 0.001, 1.999);
    write_allele_probabilities(results);
    EXPECT_EQ(values(), "0.000500 0.999500");
}

TEST_F(allele_probabilities, imputed_sites_are_written_under_phase_by_their_bits) {
    give_study(1);
    know({true});
    add_site(110, 0);
    add_site(120, 1);
    add_site(130, 2);
    allocate();
    run.plan.output_types = {true, false, true, true};
    write_allele_probabilities(results);
    EXPECT_EQ(text(), "SNP130 rs130 130 a0 b0 0 0\n");
    run.params.phase = true;
    write_allele_probabilities(results);
    EXPECT_EQ(text(), "--- rs110 110 a0 b0 0 0\nSNP130 rs130 130 a0 b0 0 0\n");
    run.plan.output_types = {false, true, false, true};
    write_allele_probabilities(results);
    EXPECT_EQ(text(), "--- rs120 120 a0 b0 0 0\n");
}

TEST_F(allele_probabilities, sites_are_chosen_and_labelled_by_their_highest_panel) {
    give_study(1);
    know({true});
    snp& site = add_site(120, 0);
    site.top_panel = 2;
    allocate();
    run.plan.output_types = {false, false, true, false};
    write_allele_probabilities(results);
    EXPECT_EQ(text(), "--- rs120 120 a0 b0 0 0\n");
}

TEST_F(allele_probabilities, unphased_sites_have_dashes_when_asked_for) {
    give_study(2);
    know({true, false});
    snp& site = add_site(120, 3);
    allocate();
    add_allele_sums(site, 0, 1.0, 1.0);
    write_allele_probabilities(results);
    EXPECT_EQ(text(), "");
    run.params.include_unphased_sites_in_output_haps = true;
    write_allele_probabilities(results);
    EXPECT_EQ(text(), "SNP120 rs120 120 a2 b2 - - - -\n");
    run.plan.output_types[3] = false;
    write_allele_probabilities(results);
    EXPECT_EQ(text(), "");
}

TEST_F(allele_probabilities, study_sites_of_a_run_without_reference) {
    give_study(1);
    give_no_reference();
    know({true});
    snp& site = add_site(120, 3);
    allocate();
    run.params.include_unphased_sites_in_output_haps = true;
    add_allele_sums(site, 0, 1.0, 0.0);
    write_allele_probabilities(results);
    EXPECT_EQ(text(), "SNP120 rs120 120 a2 b2 0.500 0\n");
}

TEST_F(allele_probabilities, haploid_male_has_a_dash_for_the_second) {
    give_ploidies(2, {1, 2});
    know({true, true});
    snp& site = add_site(120, 2);
    add_site(130, 3);
    allocate();
    run.params.include_unphased_sites_in_output_haps = true;
    add_allele_sums(site, 0, 1.0, 0.0);
    add_allele_sums(site, 1, 2.0, 1.0);
    write_allele_probabilities(results);
    EXPECT_EQ(values(0), "0.500 - 1 0.500");
    EXPECT_EQ(values(1), "- - - -");
}

TEST_F(allele_probabilities, haploid_panel_has_one_field_for_the_known) {
    give_study(2);
    know({true, false});
    run.params.haploid_g = run.panels[2].all_haploid = true;
    snp& site = add_site(120, 2);
    allocate();
    add_allele_sums(site, 0, 1.0, 0.0);
    write_allele_probabilities(results);
    EXPECT_EQ(values(), "0.500 - -");
}

TEST_F(allele_probabilities, interval_is_the_buffer_when_it_is_included_anywhere) {
    give_study(1);
    know({true});
    add_site(60, 2);
    allocate();
    write_allele_probabilities(results);
    EXPECT_EQ(text(), "");
    run.params.include_buffer_in_output = run.params.include_buffer_in_output_haps_only = true;
    write_allele_probabilities(results);
    EXPECT_EQ(text(), "SNP60 rs60 60 a0 b0 0 0\n");
}

TEST_F(allele_probabilities, file_is_compressed_under_o_gz) {
    give_study(1);
    know({true});
    add_site(120, 2);
    allocate();
    run.params.o_gz = true;
    write_allele_probabilities(results);
    EXPECT_EQ(gzip_text_of(path("_allele_probs.gz")), "SNP120 rs120 120 a0 b0 0 0\n");
}

}  // namespace
