#include "output/main_output.h"

#include <algorithm>
#include <filesystem>

#include "output_fixture.h"

namespace {

class main_output : public output_fixture {
  protected:
    // The triples of the only line.
    std::string triples(std::size_t line = 0) { return fields_of(path(""), line, 5); }
    static constexpr double low = 0.001;
    static constexpr double high = 1.0 - low;
    std::string check_message(long position) {
        return "ERROR: The imputed genotype probabilities for the SNP at position " + std::to_string(position) +
               " do not sum to 1.0; this implies that there was a problem with the imputation. Please contact the "
               "authors "
               "for assistance.";
    }
};

TEST_F(main_output, imputed_site_has_sums_over_iterations_behind_five_columns) {
    give_study(2);
    snp& site = add_site(150, 0);
    allocate();
    add_sums(site, 0, 0.25, 1.5);
    add_sums(site, 1, 2.0, 0.0);
    write_main_output(results);
    EXPECT_EQ(text_of(path("")), "--- rs150 150 a0 b0 0.125 0.125 0.750 0 1 0\n");
}

TEST_F(main_output, sites_outside_the_interval_are_passed_over) {
    give_study(1);
    for (const long position : {60L, 100L, 200L, 240L, 251L}) add_site(position, 0);
    allocate();
    write_main_output(results);
    EXPECT_EQ(text_of(path("")), "--- rs100 100 a0 b0 1 0 0\n--- rs200 200 a0 b0 1 0 0\n");
    run.params.include_buffer_in_output = true;
    write_main_output(results);
    EXPECT_EQ(fields_of(path(""), 0, 2), "60 a0 b0 1 0 0");
    EXPECT_EQ(fields_of(path(""), 3, 2), "240 a0 b0 1 0 0");
    EXPECT_EQ(fields_of(path(""), 4, 2), "(no line)");
    run.params.include_buffer_in_output_haps_only = true;
    write_main_output(results);
    EXPECT_EQ(fields_of(path(""), 0, 2), "100 a0 b0 1 0 0");
}

TEST_F(main_output, types_that_are_not_asked_for_are_left_out) {
    give_study(1);
    add_site(110, 0);
    add_genotypes(add_site(120, 2), {1});
    allocate();
    run.plan.output_types = {false, false, true, false};
    write_main_output(results);
    EXPECT_EQ(text_of(path("")), "SNP120 rs120 120 a0 b0 0 1 0\n");
}

TEST_F(main_output, imputed_site_of_a_weighted_run_is_divided_by_the_weights_of_its_panel) {
    give_study(2);
    snp& zero = add_site(110, 0);
    snp& one = add_site(120, 1);
    allocate();
    run.params.weight_imputed_gt = 0;
    run.acc.weight_sum[0] = {4.0, 1.0};
    run.acc.weight_sum[1] = {8.0, 1.0};
    add_sums(zero, 0, 1.0, 2.0);
    add_sums(one, 0, 1.0, 2.0);
    write_main_output(results);
    EXPECT_EQ(triples(0), "0.250 0.250 0.500 1 0 0");
    EXPECT_EQ(triples(1), "0.625 0.125 0.250 1 0 0");
}

TEST_F(main_output, imputed_site_under_mc_impute_has_counts_over_iterations_and_no_weights) {
    give_study(2);
    add_site(110, 0);
    allocate();
    allocate_tallies();
    run.params.mc_impute = true;
    run.params.weight_imputed_gt = 1;
    run.acc.weight_sum[0] = {9.0, 9.0};
    run.acc.tallies[0].miss_counts = {std::vector<int>{1, 0}, std::vector<int>{0, 2}};
    write_main_output(results);
    EXPECT_EQ(triples(), "0.500 0.500 0 0 0 1");
}

TEST_F(main_output, haploid_has_no_heterozygote_at_an_imputed_site) {
    give_ploidies(2, {1, 2});
    snp& site = add_site(110, 0);
    allocate();
    add_sums(site, 0, 0.5, 0.5);
    add_sums(site, 1, 0.5, 0.5);
    write_main_output(results);
    EXPECT_EQ(triples(), "0.750 0 0.250 0.500 0.250 0.250");
}

TEST_F(main_output, typed_site_has_the_input_as_it_was_read) {
    give_study(3);
    snp& site = add_site(110, 2);
    site.gtype_probs[2] = {0.05F, 0.05F, 0.9F, 0.0F, 0.0F, 0.0F, 0.3F, 0.3F, 0.3F};
    allocate();
    add_sums(site, 0, 2.0, 0.0);
    write_main_output(results);
    EXPECT_EQ(triples(), "0.050 0.050 0.900 0 0 0 0.300 0.300 0.300");
}

TEST_F(main_output, study_only_site_has_its_input_with_study_labels) {
    give_study(2);
    add_genotypes(add_site(110, 3), {2, 3});
    allocate();
    run.params.pgs = true;
    write_main_output(results);
    EXPECT_EQ(text_of(path("")), "SNP110 rs110 110 a2 b2 0 0 1 0.333 0.333 0.333\n");
}

TEST_F(main_output, typed_site_under_pgs_has_posteriors) {
    give_study(2);
    snp& site = add_site(110, 2);
    add_genotypes(site, {0, 0});
    allocate();
    run.params.pgs = true;
    run.params.store_input_probs = {false, true};
    add_sums(site, 0, 1.0, 1.0);
    write_main_output(results);
    EXPECT_EQ(triples(), "0 0.500 0.500 1 0 0");
}

TEST_F(main_output, typed_site_under_pgs_prob_has_posteriors_though_the_input_is_kept) {
    give_study(1);
    snp& typed = add_site(110, 2);
    add_genotypes(typed, {0});
    add_genotypes(add_site(120, 3), {2});
    allocate();
    run.params.prob_g = run.params.pgs_prob = true;
    add_sums(typed, 0, 2.0, 0.0);
    write_main_output(results);
    EXPECT_EQ(triples(0), "0 1 0");
    EXPECT_EQ(triples(1), "0 0 1");
}

TEST_F(main_output, typed_site_without_input_or_posteriors_has_zeros) {
    give_study(2);
    snp& site = add_site(110, 2);
    add_genotypes(site, {1, 2});
    allocate();
    run.params.store_input_probs = {false, false};
    write_main_output(results);
    EXPECT_EQ(triples(), "0 0 0 0 0 0");
}

TEST_F(main_output, prephased_study_with_a_weight_panel_has_masked_sums) {
    give_study(1);
    snp& site = add_site(110, 2);
    add_genotypes(site, {0});
    allocate();
    run.params.pgs = run.params.use_prephased_g = true;
    run.params.store_input_probs = {false, true};
    add_sums(site, 0, 2.0, 0.0);
    add_masked_sums(1, site, 0, 0.0, 2.0);
    write_main_output(results);  // no weight panel
    EXPECT_EQ(triples(), "0 1 0");
    run.params.weight_panel = 1;
    write_main_output(results);
    EXPECT_EQ(triples(), "0 0 1");
}

TEST_F(main_output, missing_genotypes_under_pgs_miss_have_posteriors_of_their_own_individual) {
    give_study(3);
    snp& typed = add_site(110, 2);
    add_genotypes(typed, {1, 3, 3});
    snp& study_only = add_site(120, 3);
    add_genotypes(study_only, {1, 3, 3});
    allocate();
    run.params.pgs_miss = true;
    add_sums(typed, 0, 0.0, 2.0);
    add_sums(typed, 1, 0.5, 0.5);
    add_sums(typed, 2, 0.0, 2.0);
    write_main_output(results);
    EXPECT_EQ(triples(0), "0 1 0 0.500 0.250 0.250 0 0 1");
    EXPECT_EQ(triples(1), "0 1 0 0.333 0.333 0.333 0.333 0.333 0.333");
}

TEST_F(main_output, missing_genotypes_under_pgs_miss_and_mc_impute_have_the_counts_of_their_entry) {
    give_study(3);
    snp& typed = add_site(110, 2);
    add_genotypes(typed, {3, 0, 3});
    allocate();
    run.params.pgs_miss = run.params.mc_impute = run.plan.count_missing_only = true;
    run.acc.tallies.resize(1);
    run.acc.tallies[0].miss_counts = {std::vector<int>{2, 1}, std::vector<int>{0, 1}};
    write_main_output(results);
    EXPECT_EQ(triples(), "0 1 0 1 0 0 0 0.500 0.500");
}

TEST_F(main_output, typed_site_under_prob_g_and_pgs_miss_keeps_its_input) {
    give_study(1);
    snp& site = add_site(110, 2);
    site.gtype_probs[2] = {0.2F, 0.3F, 0.5F};
    allocate();
    run.params.pgs_miss = run.params.prob_g = true;
    write_main_output(results);
    EXPECT_EQ(triples(), "0.200 0.300 0.500");
}

TEST_F(main_output, study_site_without_reference_has_type_3_and_its_input) {
    give_study(1);
    give_no_reference();
    add_genotypes(add_site(110, 3), {2});
    allocate();
    write_main_output(results);
    EXPECT_EQ(text_of(path("")), "SNP110 rs110 110 a2 b2 0 0 1\n");
}

TEST_F(main_output, imputed_site_of_a_weighted_run_without_iterations_is_undefined) {
    give_study(1);
    add_site(110, 0);
    allocate();
    run.params.weight_imputed_gt = 0;
    write_main_output(results);
    EXPECT_EQ(triples(), "-1 -1 -1");
}

TEST_F(main_output, study_only_site_whose_input_was_not_kept_has_its_genotypes) {
    give_study(3);
    snp& site = add_site(110, 3);
    site.gtypes[2] = {1, 2, missing_genotype};
    allocate();
    write_main_output(results);
    EXPECT_EQ(triples(), "0 1 0 0 0 1 0.333 0.333 0.333");
}

TEST_F(main_output, outdp_0_prints_digits_only) {
    give_study(2);
    snp& site = add_site(110, 0);
    allocate();
    run.params.outdp = 0;
    add_sums(site, 0, 0.5, 0.25);
    add_sums(site, 1, 0.0, 2.0);
    write_main_output(results);
    EXPECT_EQ(triples(), "0 0 0 0 0 1");
}

TEST_F(main_output, outdp_gives_the_decimals) {
    give_study(1);
    snp& site = add_site(110, 0);
    allocate();
    run.params.outdp = 12;
    add_sums(site, 0, 2.0 / 3.0, 2e-13);
    write_main_output(results);
    EXPECT_EQ(triples(), "0.666666666667 0.333333333333 0");
}

TEST_F(main_output, compressed_file_gets_gz_behind_any_name) {
    give_study(1);
    add_site(110, 0);
    allocate();
    run.params.o_file += ".gz";
    run.params.o_gz = true;
    write_main_output(results);
    EXPECT_FALSE(exists(path("")));
    EXPECT_EQ(gzip_text_of(path(".gz")), "--- rs110 110 a0 b0 1 0 0\n");
}

TEST_F(main_output, sporadic_haploid_imputation_writes_nothing) {
    add_site(110, 0);
    allocate();
    run.plan.sporadic_haploid_imputation = true;
    write_main_output(results);
    EXPECT_FALSE(exists(path("")));
}

TEST_F(main_output, file_that_cannot_be_opened_is_reported) {
    give_study(1);
    allocate();
    run.params.o_file = file("missing/out");
    write_main_output(results);
    EXPECT_TRUE(run.log.any_result_failed());
    EXPECT_NE(notes().find("cannot write [" + file("missing/out]")), std::string::npos);
}

TEST_F(main_output, many_sites_of_all_kinds_keep_their_own_values) {
    give_study(3);
    for (int k = 0; k < 60; ++k) {
        snp& site = add_site(110 + k, k % 3 == 0 ? 2 : 0);
        if (site.type == 2) add_genotypes(site, {k % 2, 3, 2});
    }
    allocate();
    run.params.pgs_miss = true;
    run.params.outdp = 4;
    for (const snp* site : run.sites.in_order) {
        for (std::size_t i = 0; i < 3; ++i)
            add_sums(*site, i, 0.01 * static_cast<double>(site->index), 0.1 * static_cast<double>(i + 1));
    }
    write_main_output(results);
    std::string expected;
    for (int k = 0; k < 60; ++k) {
        std::string line;
        for (int i = 0; i < 3; ++i) {
            const double two = 0.1 * (i + 1) / 2.0;
            const double one = 0.01 * k / 2.0;
            const bool typed = k % 3 == 0;
            if (typed && i == 0) {
                line += k % 2 == 0 ? " 1 0 0" : " 0 1 0";
            } else if (typed && i == 2) {
                line += " 0 0 1";
            } else {
                std::array<char, 64> text{};
                std::snprintf(text.data(), text.size(), one == 0.0 ? " %.4f 0 %.4f" : " %.4f %.4f %.4f",
                              1.0 - two - one, one == 0.0 ? two : one, two);
                line += text.data();
            }
        }
        ASSERT_EQ(" " + triples(static_cast<std::size_t>(k)), line) << k;
    }
}

TEST_F(main_output, check_passes_what_the_printed_digits_allow) {
    EXPECT_TRUE(prints_as_one({0.25, 0.5, 0.25}, low, high));
    EXPECT_TRUE(prints_as_one({0.9995, 0.0003, 0.0002}, low, high));
    EXPECT_TRUE(prints_as_one({0.9985, 0.0009, 0.0006}, low, high));
    EXPECT_TRUE(prints_as_one({0.0, 0.0, 1.0}, low, high));
    EXPECT_TRUE(prints_as_one({0.5, 0.25, 0.25}, 1.0, 0.0));  // three zeros may hide 3
}

TEST_F(main_output, check_fails_when_the_sum_is_off) {
    EXPECT_FALSE(prints_as_one({0.25, 0.5, 0.26}, low, high));
}

TEST_F(main_output, check_counts_one_low_per_zero) {
    EXPECT_TRUE(prints_as_one({0.9982, 0.0009, 0.0009}, low, high));
    EXPECT_FALSE(prints_as_one({0.9978, 0.0005, 0.001}, low, high));
}

TEST_F(main_output, impossible_sums_end_the_run) {
    give_study(1);
    snp& site = add_site(110, 0);
    allocate();
    add_sums(site, 0, 2.0, 1.0);
    expect_fatal(check_message(110), [&] { write_main_output(results); });
}

TEST_F(main_output, the_first_impossible_sums_end_the_run_and_leave_no_result) {
    workers.start(3);
    give_study(1);
    for (long position = 101; position < 190; ++position) add_site(position, 0);
    allocate();
    for (const std::size_t bad : {25U, 26U, 70U}) add_sums(*run.sites.in_order[bad], 0, 2.0, 1.0);
    expect_fatal(check_message(126), [&] { write_main_output(results); });
    EXPECT_FALSE(std::filesystem::exists(path("")));
}

}  // namespace
