#include "output/info.h"

#include "output_fixture.h"

namespace {

const std::string head = "snp_id rs_id position a0 a1 exp_freq_a1 info certainty type";

class info_file : public output_fixture {
  protected:
    std::string info_text() { return text_of(path("_info")); }
    // The columns behind the labels of a line (1 is the first SNP).
    std::string info(std::size_t line = 1) { return fields_of(path("_info"), line, 5); }
};

TEST_F(info_file, head_without_comparisons) {
    write_info(results);
    EXPECT_EQ(info_text(), head + "\n");
}

TEST_F(info_file, head_with_all_comparisons) {
    run.params.pgs = true;
    run.plan.selfcheck_iters = {1};
    write_info(results);
    EXPECT_EQ(info_text(),
              head + " concord_type2 r2_type2 info_type1 concord_type1 r2_type1 info_type0 concord_type0 r2_type0\n");
}

TEST_F(info_file, head_of_a_reference_set_follows_its_type_bit) {
    run.plan.selfcheck_iters = {1};
    run.plan.output_types = {true, false, true, true};
    write_info(results);
    EXPECT_EQ(info_text(), head + " info_type0 concord_type0 r2_type0\n");
    run.plan.output_types = {false, true, true, true};
    write_info(results);
    EXPECT_EQ(info_text(), head + " info_type1 concord_type1 r2_type1\n");
}

TEST_F(info_file, comparisons_can_be_switched_off) {
    run.params.pgs = true;
    run.plan.selfcheck_iters = {1};
    run.params.snp_qc_info = false;
    write_info(results);
    EXPECT_EQ(info_text(), head + "\n");
}

TEST_F(info_file, name_is_that_of_i_and_never_compressed) {
    run.params.i_file = file("quality.gz");
    run.params.o_gz = true;
    write_info(results);
    EXPECT_EQ(text_of(file("quality.gz")), head + "\n");
}

TEST_F(info_file, imputed_site) {
    give_study(2);
    snp& site = add_site(150, 0);
    allocate();
    add_sums(site, 0, 1.0, 0.5);  // 0.25 0.5 0.25: mean 1, variance 0.5
    add_sums(site, 1, 0.0, 0.0);  // 1 0 0
    write_info(results);
    // f = 1/4; info = 1 - 0.5 / (4 * 3/16); certainty (0.5 + 1) / 2
    EXPECT_EQ(info_text(), head + "\n--- rs150 150 a0 b0 0.250 0.333 0.750 0\n");
}

TEST_F(info_file, monomorphic_site_has_info_1_and_the_mean_largest_probability) {
    give_study(2);
    add_site(150, 0);
    snp& fixed = add_site(160, 0);
    allocate();
    add_sums(fixed, 0, 0.0, 2.0);
    add_sums(fixed, 1, 0.0, 2.0);
    write_info(results);
    EXPECT_EQ(info(1), "0.000 1.000 1.000 0");
    EXPECT_EQ(info(2), "1.000 1.000 1.000 0");
}

TEST_F(info_file, certain_calls_have_info_1) {
    give_study(2);
    snp& site = add_site(150, 0);
    allocate();
    add_sums(site, 0, 2.0, 0.0);
    write_info(results);
    EXPECT_EQ(info(), "0.250 1.000 1.000 0");
}

TEST_F(info_file, haploids_count_one_allele) {
    give_ploidies(2, {1, 2});
    snp& site = add_site(150, 0);
    allocate();
    add_sums(site, 0, 1.0, 1.0);  // 0.5 0 0.5
    add_sums(site, 1, 2.0, 0.0);  // 0 1 0
    write_info(results);
    // f = (0.5 + 1) / 3; info = 1 - 0.25 / (3 / 4)
    EXPECT_EQ(info(), "0.500 0.667 0.750 0");
}

TEST_F(info_file, imputed_site_of_a_weighted_run_is_divided_by_the_weights) {
    give_study(1);
    snp& site = add_site(150, 1);
    allocate();
    run.params.weight_imputed_gt = 2;
    run.acc.weight_sum[1] = {4.0};
    add_sums(site, 0, 2.0, 0.0);
    write_info(results);
    EXPECT_EQ(info(), "0.250 0.333 0.500 1");
}

TEST_F(info_file, imputed_site_under_mc_impute_is_read_from_the_tallies) {
    give_study(1);
    add_site(150, 0);
    allocate();
    allocate_tallies();
    run.params.mc_impute = true;
    run.acc.tallies[0].miss_counts = {std::vector<int>{1}, std::vector<int>{1}};
    write_info(results);
    EXPECT_EQ(info(), "0.750 0.333 0.500 0");
}

TEST_F(info_file, typed_site_has_the_input) {
    give_study(2);
    snp& site = add_site(150, 2);
    site.gtype_probs[2] = {0.5F, 0.5F, 0.0F, 0.0F, 0.0F, 0.5F};  // the second one is scaled to 0 0 1
    allocate();
    write_info(results);
    // dosages 0.5 and 2; f = 5/8; info = 1 - 0.25 / (4 * 15/64); the certainty is that of the values as read
    EXPECT_EQ(info(), "0.625 0.733 0.500 2");
}

TEST_F(info_file, typed_site_of_haploids_leaves_two_homozygotes) {
    give_ploidies(2, {1});
    snp& site = add_site(150, 2);
    site.gtype_probs[2] = {0.25F, 0.0F, 0.25F};
    allocate();
    write_info(results);
    EXPECT_EQ(info(), "0.500 0.000 0.500 2");
}

TEST_F(info_file, haploid_without_homozygous_input_takes_the_frequency) {
    give_ploidies(2, {1});
    snp& site = add_site(150, 2);
    site.gtype_probs[2] = {0.0F, 0.0F, 0.0F};
    site.labels[2].freq = 0.25;
    allocate();
    write_info(results);
    EXPECT_EQ(info(), "0.250 0.000 0.750 2");
}

TEST_F(info_file, haploid_without_homozygous_input_needs_a_sound_frequency) {
    give_ploidies(2, {1});
    snp& site = add_site(150, 2);
    site.gtype_probs[2] = {0.0F, 0.0F, 0.0F};
    allocate();
    const std::string end = " at position 150. Please contact the authors for assistance.";
    expect_fatal("ERROR: Unexpected gens1 frequency of -1.000" + end, [&] { write_info(results); });
}

TEST_F(info_file, haploid_without_homozygous_input_refuses_a_frequency_above_1) {
    give_ploidies(2, {1});
    snp& site = add_site(150, 2);
    site.gtype_probs[2] = {0.0F, 0.0F, 0.0F};
    site.labels[2].freq = 1.5;
    allocate();
    expect_fatal(
        "ERROR: Unexpected gens1 frequency of 1.500 at position 150. Please contact the authors for "
        "assistance.",
        [&] { write_info(results); });
}

TEST_F(info_file, typed_site_without_kept_input_is_written_under_pgs_only) {
    give_study(1);
    snp& site = add_site(150, 2);
    add_genotypes(site, {1});
    allocate();
    run.params.store_input_probs = {false, false};
    add_sums(site, 0, 2.0, 0.0);
    write_info(results);
    EXPECT_EQ(info_text(), head + "\n");
    run.params.pgs = true;
    write_info(results);
    EXPECT_EQ(info(), "0.500 1.000 1.000 2 1.000 -1.000");
}

TEST_F(info_file, site_whose_individuals_do_not_count_is_undefined) {
    give_study(1);
    add_genotypes(add_site(150, 3), {1});
    allocate();
    run.params.store_input_probs = {false, false};
    run.params.pgs_prob = true;
    write_info(results);
    EXPECT_EQ(info(), "-1 -1 0.000 3");
}

TEST_F(info_file, without_individuals_numbers_are_minus_1) {
    add_site(150, 0);
    allocate();
    write_info(results);
    EXPECT_EQ(info(), "-1 -1 -1 0");
}

TEST_F(info_file, only_sites_of_asked_types_in_the_interval) {
    give_study(1);
    add_site(99, 0);
    add_site(110, 1);
    add_site(120, 0);
    add_site(201, 0);
    allocate();
    run.plan.output_types = {true, false, true, true};
    write_info(results);
    EXPECT_EQ(info_text(), head + "\n--- rs120 120 a0 b0 0.000 1.000 1.000 0\n");
}

TEST_F(info_file, posteriors_of_typed_sites_are_compared_under_pgs) {
    give_study(3);
    snp& site = add_site(150, 2);
    add_genotypes(site, {0, 1, 3});
    snp& constant = add_site(160, 2);
    add_genotypes(constant, {1, 1, 1});
    snp& missing = add_site(170, 2);
    add_genotypes(missing, {3, 3, 3});
    add_site(180, 0);
    allocate();
    run.params.pgs = true;
    add_sums(site, 0, 0.2, 0.0);
    add_sums(site, 1, 0.8, 0.0);  // called 0
    add_sums(site, 2, 0.0, 2.0);
    for (std::size_t i = 0; i < 3; ++i) add_sums(constant, i, 0.2 * static_cast<double>(i + 4), 0.0);
    write_info(results);
    EXPECT_EQ(fields_of(path("_info"), 1, 9), "0.500 1.000");
    EXPECT_EQ(fields_of(path("_info"), 2, 9), "0.333 -1.000");  // all genotypes equal; 0.4 and 0.5 are called 0
    EXPECT_EQ(fields_of(path("_info"), 3, 9), "-1 -1");
    EXPECT_EQ(fields_of(path("_info"), 4, 9), "-1 -1");
}

TEST_F(info_file, single_compared_individual_has_concordance_and_no_correlation) {
    give_study(2);
    snp& site = add_site(150, 2);
    add_genotypes(site, {2, 3});
    allocate();
    run.params.pgs = true;
    add_sums(site, 0, 0.0, 2.0);
    write_info(results);
    EXPECT_EQ(fields_of(path("_info"), 1, 9), "1.000 -1.000");
}

TEST_F(info_file, compared_haploids_halve_their_genotypes) {
    give_ploidies(2, {1, 1});
    snp& site = add_site(150, 2);
    add_genotypes(site, {2, 0});
    allocate();
    run.params.pgs = true;
    add_sums(site, 0, 0.0, 1.2);
    add_sums(site, 1, 0.0, 0.4);
    write_info(results);
    EXPECT_EQ(fields_of(path("_info"), 1, 9), "1.000 1.000");
}

TEST_F(info_file, run_without_genotypes_compares_nothing) {
    give_study(1);
    snp& site = add_site(150, 2);
    site.gtype_probs[2] = {0.5F, 0.5F, 0.0F};
    allocate();
    run.params.pgs = run.params.prob_g = true;
    write_info(results);
    EXPECT_EQ(fields_of(path("_info"), 1, 9), "-1 -1");
}

TEST_F(info_file, selfcheck_columns_are_those_of_set_1_then_set_0) {
    give_study(2);
    snp& site = add_site(150, 2);
    add_genotypes(site, {0, 2});
    add_site(160, 0);
    allocate();
    run.plan.selfcheck_iters = {1, 2, 3, 4};
    add_masked_sums(1, site, 0, 0.0, 0.0);
    add_masked_sums(1, site, 1, 0.0, 4.0);
    add_masked_sums(0, site, 0, 2.0, 1.0);  // 0.25 0.5 0.25
    add_masked_sums(0, site, 1, 2.0, 1.0);
    write_info(results);
    EXPECT_EQ(fields_of(path("_info"), 1, 9), "1.000 1.000 1.000 0.000 0.000 -1.000");
    EXPECT_EQ(fields_of(path("_info"), 2, 9), "-1 -1 -1 -1 -1 -1");
}

TEST_F(info_file, selfcheck_info_counts_those_without_genotype_too) {
    give_study(2);
    snp& site = add_site(150, 2);
    add_genotypes(site, {3, 3});
    allocate();
    run.plan.selfcheck_iters = {1, 2, 3, 4};
    run.plan.output_types = {true, false, true, true};
    add_masked_sums(0, site, 0, 2.0, 1.0);
    write_info(results);
    EXPECT_EQ(fields_of(path("_info"), 1, 9), "0.333 -1 -1");
}

TEST_F(info_file, selfcheck_of_haploids_has_one_allele) {
    give_ploidies(2, {1, 1});
    snp& site = add_site(150, 2);
    add_genotypes(site, {0, 2});
    allocate();
    run.plan.selfcheck_iters = {1, 2};
    run.plan.output_types = {true, false, true, true};
    add_masked_sums(0, site, 0, 1.0, 0.5);  // 0.75 0 0.25
    add_masked_sums(0, site, 1, 1.0, 1.5);  // 0.25 0 0.75
    write_info(results);
    // f = 1/2; info = 1 - 2 * 3/16 / (2 / 4)
    EXPECT_EQ(fields_of(path("_info"), 1, 9), "0.250 1.000 1.000");
}

TEST_F(info_file, monomorphic_selfcheck_has_info_1) {
    give_study(1);
    add_genotypes(add_site(150, 2), {0});
    allocate();
    run.plan.selfcheck_iters = {1};
    run.plan.output_types = {true, false, true, true};
    write_info(results);
    EXPECT_EQ(fields_of(path("_info"), 1, 9), "1.000 1.000 -1.000");
}

}  // namespace
