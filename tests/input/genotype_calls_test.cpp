#include "input/genotype_calls.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include "model/data.h"
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

class number_fields : public ::testing::Test {
  protected:
    static double number(const std::string& text) {
        number_scanner scanner(text);
        double value = -7.0;
        EXPECT_EQ(number_scanner::outcome::number, scanner.next(value)) << text;
        return value;
    }
};

TEST_F(number_fields, are_taken_in_order) {
    number_scanner scanner(" 1\t0.25  3e-2");
    double value = 0.0;
    EXPECT_EQ(number_scanner::outcome::number, scanner.next(value));
    EXPECT_EQ(1.0, value);
    EXPECT_EQ(number_scanner::outcome::number, scanner.next(value));
    EXPECT_EQ(0.25, value);
    EXPECT_EQ(number_scanner::outcome::number, scanner.next(value));
    EXPECT_EQ(3e-2, value);
    EXPECT_EQ(number_scanner::outcome::end, scanner.next(value));
}

TEST_F(number_fields, short_decimals_are_rounded_correctly) {
    for (int i = 0; i <= 100000; i += 7) {
        char text[32];
        std::snprintf(text, sizeof text, "%.5f", i / 100000.0);
        EXPECT_EQ(std::strtod(text, nullptr), number(text));
    }
    for (const char* text : {"0.123456789012345", "0.1234567890123456789", "123456789012345678", ".5", "5.", "-0.25",
                             "+1", "1e0", "0.5\r"}) {
        EXPECT_EQ(std::strtod(text, nullptr), number(text)) << text;
    }
}

TEST_F(number_fields, other_text_is_no_number) {
    for (const char* text : {"x", "0.5x", ".", "1 2x", "nan", "--1", "1.2.3"}) {
        number_scanner scanner(text);
        double value = 0.0;
        auto outcome = scanner.next(value);
        if (text[1] == ' ') outcome = scanner.next(value);
        EXPECT_EQ(number_scanner::outcome::bad, outcome) << text;
        EXPECT_FALSE(scanner.bad_field().empty());
    }
}

TEST_F(number_fields, three_digits_are_taken_at_once) {
    number_scanner scanner("0 1 0\t0 0 1 1 0 0");
    triple t{};
    ASSERT_TRUE(scanner.next_digits(t));
    EXPECT_EQ((triple{0, 1, 0}), t);
    ASSERT_TRUE(scanner.next_digits(t));
    EXPECT_EQ((triple{0, 0, 1}), t);
    ASSERT_TRUE(scanner.next_digits(t));
    EXPECT_EQ((triple{1, 0, 0}), t);
    EXPECT_FALSE(scanner.next_digits(t));
}

TEST_F(number_fields, other_shapes_are_left_for_the_general_scan) {
    for (const char* text : {"0 1 0.5", "0 2 0", "0  1 0", "0 1", "0 1 05", "01 0 0", ""}) {
        number_scanner scanner(text);
        triple t{};
        EXPECT_FALSE(scanner.next_digits(t)) << text;
        double value = 0.0;
        const auto expected = text[0] == '\0' ? number_scanner::outcome::end : number_scanner::outcome::number;
        EXPECT_EQ(expected, scanner.next(value)) << text;
    }
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
    data run{terminal, notes};
};

TEST_F(frequency_by_em, agrees_with_the_recursion_as_written) {
    std::vector<float> triples;
    for (int i = 0; i < 30; ++i) {
        const float a = static_cast<float>(i % 7) / 7.0F, b = static_cast<float>(i % 3) / 5.0F;
        triples.insert(triples.end(), {a, b, 1.0F - 0.5F * a});
    }
    const listed_draws draws({0.3});
    EXPECT_NEAR(slow(triples, 0.3), calculate_allele_freq_via_em(run, triples), 1e-13);
    EXPECT_EQ(1U, draws.n_taken());
}

TEST_F(frequency_by_em, hard_calls_give_the_count_with_a_pseudo_count) {
    const listed_draws draws({0.7});
    EXPECT_NEAR((3.0 + 1.0) / 6.0, calculate_allele_freq_via_em(run, {0, 1, 0, 0, 0, 1}), 1e-15);
}

TEST_F(frequency_by_em, nobody_gives_one_half_and_takes_a_draw) {
    const listed_draws draws({0.9});
    EXPECT_EQ(0.5, calculate_allele_freq_via_em(run, {}));
    EXPECT_EQ(1U, draws.n_taken());
}

TEST_F(frequency_by_em, empty_triple_is_noted_once_and_gives_no_number) {
    const listed_draws draws({0.4});
    EXPECT_TRUE(std::isnan(calculate_allele_freq_via_em(run, {1, 0, 0, 0, 0, 0})));
    EXPECT_EQ("orvide: LIKE (1): |0,0,0|\n", notes.str());
}

}  // namespace
