#include "input/genotype_calls.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>
#include <string>
#include <vector>

#include "io/run_log.h"
#include "model/parameters.h"
#include "support/alleles.h"
#include "support/scripted_draws.h"

namespace {

using triple = probability_triple;

TEST(genotype_call, largest_probability_above_the_threshold_wins) {
    EXPECT_EQ(3, call_genotype({0.2F, 0.3F, 0.5F}, 0.9, false));
    EXPECT_EQ(2, call_genotype({0.05F, 0.05F, 0.9F}, 0.9, false));  // 0.9 as a float lies below 0.9
    EXPECT_EQ(1, call_genotype({0.0F, 1.0F, 0.0F}, 0.9, false));
    EXPECT_EQ(0, call_genotype({1.0F, 0.0F, 0.0F}, 0.9, false));
}

TEST(genotype_call, tie_goes_to_the_lower_genotype) {
    EXPECT_EQ(0, call_genotype({0.5F, 0.5F, 0.0F}, 0.5, false));
    EXPECT_EQ(1, call_genotype({0.0F, 0.5F, 0.5F}, 0.5, false));
}

TEST(genotype_call, carrier_of_one_haplotype_is_never_heterozygous) {
    EXPECT_EQ(3, call_genotype({0.0F, 1.0F, 0.0F}, 0.9, true));
    EXPECT_EQ(2, call_genotype({0.0F, 0.0F, 1.0F}, 0.9, true));
}

TEST(genotype_triple, missing_one_becomes_uniform) {
    triple t{};
    complete_triple(t, false);
    EXPECT_EQ((triple{0.33333334F, 0.33333334F, 0.33333334F}), t);
    t = {0.0F, 1.0F, 0.0F};
    complete_triple(t, true);
    EXPECT_EQ((triple{0.5F, 0.0F, 0.5F}), t);
}

TEST(genotype_triple, known_one_stays) {
    triple t{0.2F, 0.3F, 0.5F};
    complete_triple(t, false);
    EXPECT_EQ((triple{0.2F, 0.3F, 0.5F}), t);
    complete_triple(t, true);
    EXPECT_EQ((triple{0.2F, 0.0F, 0.5F}), t);
}

TEST(genotype_triple, uncertain_one_counts_above_a_positive_threshold) {
    genotype_rules rules;
    rules.probability_threshold = 0.8;
    allele_sums sums;
    triple t{0.0F, 0.25F, 0.75F};
    add_uncertain(t, rules, false, sums);
    EXPECT_EQ(0.0, sums.all);
    t = {0.0F, 0.125F, 0.875F};
    add_uncertain(t, rules, false, sums);
    EXPECT_DOUBLE_EQ(0.125 + 2 * 0.875, sums.ones);
    EXPECT_DOUBLE_EQ(2.0, sums.all);
    t = {0.125F, 0.0F, 0.875F};
    add_uncertain(t, rules, true, sums);
    EXPECT_DOUBLE_EQ(0.125 + 3 * 0.875, sums.ones);
    EXPECT_DOUBLE_EQ(3.0, sums.all);
}

TEST(genotype_triple, uncertain_one_is_normalised_if_wanted) {
    genotype_rules rules;
    rules.probability_threshold = 0.8;
    allele_sums sums;
    triple t{0.0F, 0.5F, 3.5F};
    add_uncertain(t, rules, false, sums);
    EXPECT_EQ((triple{0.0F, 0.125F, 0.875F}), t);
    rules.normalise = false;
    t = {0.0F, 0.5F, 3.5F};
    add_uncertain(t, rules, false, sums);
    EXPECT_EQ((triple{0.0F, 0.5F, 3.5F}), t);
    EXPECT_DOUBLE_EQ(2.0 + 8.0, sums.all);
}

TEST(genotype_triple, nothing_happens_at_a_threshold_of_zero_or_less) {
    genotype_rules rules;
    for (const double threshold : {0.0, -1.0}) {
        rules.probability_threshold = threshold;
        allele_sums sums;
        triple t{0.0F, 0.5F, 3.5F};
        add_uncertain(t, rules, false, sums);
        EXPECT_EQ((triple{0.0F, 0.5F, 3.5F}), t);
        EXPECT_EQ(0.0, sums.all);
    }
}

TEST(allele_sum, genotypes_count_by_ploidy) {
    allele_sums sums;
    EXPECT_EQ(-1.0, sums.frequency());
    sums.add_genotype(1, false);
    sums.add_genotype(2, true);
    EXPECT_DOUBLE_EQ(2.0, sums.ones);
    EXPECT_DOUBLE_EQ(3.0, sums.all);
    EXPECT_DOUBLE_EQ(2.0 / 3.0, sums.frequency());
}

TEST(allele_sum, frequency_is_usable_down_to_a_rounding_error) {
    EXPECT_TRUE(is_usable_frequency(0.0));
    EXPECT_TRUE(is_usable_frequency(-1e-11));
    EXPECT_FALSE(is_usable_frequency(-1.0));
    EXPECT_FALSE(is_usable_frequency(std::nan("")));
}

TEST(frequency_of_alleles, missing_ones_do_not_count) {
    EXPECT_DOUBLE_EQ(2.0 / 3.0, allele_frequency(alleles("0112")));
    EXPECT_DOUBLE_EQ(0.0, allele_frequency(alleles("00")));
    EXPECT_EQ(-1.0, allele_frequency(alleles("22")));
    EXPECT_EQ(-1.0, allele_frequency(allele_row()));
}

TEST(kept_triples, depend_on_the_panel) {
    parameters params;
    EXPECT_FALSE(keeps_triples(params, 1));
    EXPECT_FALSE(keeps_triples(params, 2));
    params.store_input_probs[1] = true;
    EXPECT_TRUE(keeps_triples(params, 2));
    EXPECT_FALSE(keeps_triples(params, 1));
    params.store_input_probs_ref = true;
    EXPECT_TRUE(keeps_triples(params, 1));
}

class frequency_by_em : public ::testing::Test {
  protected:
    // The recursion as it is written.
    static double slow(const std::vector<float>& triples, double p) {
        const std::size_t n = triples.size() / 3;
        for (int round = 0; round < 25; ++round) {
            const double prior[3] = {(1 - p) * (1 - p), 2 * p * (1 - p), p * p};
            double c = 0;
            for (std::size_t i = 0; i < n; ++i) {
                double weight[3], total = 0;
                for (std::size_t g = 0; g < 3; ++g) total += weight[g] = triples[3 * i + g] * prior[g];
                c += (weight[1] + 2 * weight[2]) / total;
            }
            p = (c + 1) / (2 * (static_cast<double>(n) + 1));
        }
        return p;
    }
    std::ostringstream terminal, notes;
    run_log log{terminal, notes};
};

TEST_F(frequency_by_em, agrees_with_the_recursion_as_written) {
    std::vector<float> triples;
    for (int i = 0; i < 30; ++i) {
        const float a = static_cast<float>(i % 7) / 7.0F, b = static_cast<float>(i % 3) / 5.0F;
        triples.insert(triples.end(), {a, b, 1.0F - 0.5F * a});
    }
    const listed_draws draws({0.3});
    EXPECT_NEAR(slow(triples, 0.3), calculate_allele_freq_via_em(log, triples), 1e-13);
    EXPECT_EQ(1U, draws.n_taken());
}

TEST_F(frequency_by_em, hard_calls_give_the_count_with_a_pseudo_count) {
    const listed_draws draws({0.7});
    EXPECT_NEAR((3.0 + 1.0) / 6.0, calculate_allele_freq_via_em(log, {0, 1, 0, 0, 0, 1}), 1e-15);
}

TEST_F(frequency_by_em, nobody_gives_one_half_and_takes_a_draw) {
    const listed_draws draws({0.9});
    EXPECT_EQ(0.5, calculate_allele_freq_via_em(log, {}));
    EXPECT_EQ(1U, draws.n_taken());
}

TEST_F(frequency_by_em, empty_triple_is_noted_once_and_gives_no_number) {
    const listed_draws draws({0.4});
    EXPECT_TRUE(std::isnan(calculate_allele_freq_via_em(log, {1, 0, 0, 0, 0, 0})));
    EXPECT_EQ("orvide: LIKE (1): |0,0,0|\n", notes.str());
}

}  // namespace
