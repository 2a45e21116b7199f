#include "inference/update/posteriors.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>

namespace {

constexpr double nan_value = std::numeric_limits<double>::quiet_NaN();

emission_table haploid_table(double mu) {
    return {{{1.0 - mu, mu, 1.0, 0.0}, {mu, 1.0 - mu, 1.0, 0.0}, {}}};
}

TEST(allele_one_chance, passes_the_copied_alleles_through_the_mutation_model) {
    const emission_table M = haploid_table(0.1);
    EXPECT_DOUBLE_EQ(0.1, allele_one_chance({2.0, 0.0}, M));
    EXPECT_DOUBLE_EQ(0.9, allele_one_chance({0.0, 3.0}, M));
    EXPECT_DOUBLE_EQ((0.1 * 3 + 0.9 * 1) / 4, allele_one_chance({3.0, 1.0}, M));
    EXPECT_DOUBLE_EQ((0.1 * 3 + 0.9 * 1) / 4, allele_one_chance({3e-200, 1e-200}, M)) << "any unit will do";
}

TEST(allele_one_chance_unseen, takes_out_the_observed_allele) {
    const emission_table M = haploid_table(0.1);
    EXPECT_DOUBLE_EQ((0.1 * 3 + 0.9 * 1) / 4, allele_one_chance_unseen({3.0 * 0.9, 1.0 * 0.1}, M, 0));
    EXPECT_DOUBLE_EQ((0.1 * 3 + 0.9 * 1) / 4, allele_one_chance_unseen({3.0 * 0.1, 1.0 * 0.9}, M, 1));
}

TEST(allele_one_chance, is_one_half_when_the_weights_say_nothing) {
    const emission_table M = haploid_table(0.0);
    EXPECT_EQ(0.5, allele_one_chance({0.0, 0.0}, M));
    EXPECT_EQ(0.5, allele_one_chance({tol, 0.0}, M)) << "the sum must lie above the smallest normal number";
    EXPECT_EQ(0.0, allele_one_chance({2 * tol, 0.0}, M));
    EXPECT_EQ(0.5, allele_one_chance({nan_value, 1.0}, M));
    EXPECT_EQ(0.5, allele_one_chance_unseen({0.0, 1.0}, M, 0)) << "0 / 0";
}

emission_table diploid_table(double mu) {
    const double a = 1.0 - mu;
    return {
        {{a * a, 2 * a * mu, mu * mu, 1.0}, {a * mu, mu * mu + a * a, a * mu, 1.0}, {mu * mu, 2 * a * mu, a * a, 1.0}}};
}

constexpr std::array<double, 4> nothing{0.0, 0.0, 0.0, 0.0}, ones{1.0, 1.0, 1.0, 1.0};

TEST(genotype_chances, join_two_haplotypes) {
    EXPECT_EQ((std::array{0.5, 0.125}), genotype_chances(0.25, 0.5, true));
    EXPECT_EQ((std::array{0.0, 0.25}), genotype_chances(0.25, 0.5, false)) << "a haploid has no heterozygote";
}

TEST(haploid_posterior, replaces_the_emission_by_the_mutation_model) {
    const emission_table M = haploid_table(0.1);
    EXPECT_DOUBLE_EQ((0.1 * 3 + 0.9 * 1) / 4, haploid_posterior({3.0, 1.0}, M, 2));
    EXPECT_DOUBLE_EQ((0.1 * 3 + 0.9 * 1) / 4, haploid_posterior({3.0 * 0.1, 1.0 * 0.9}, M, 1));
}

TEST(haploid_posterior, is_even_without_weight) {
    EXPECT_EQ(0.5, haploid_posterior({0.0, 0.0}, haploid_table(0.1), 2));
    EXPECT_EQ(0.5, haploid_posterior({nan_value, 1.0}, haploid_table(0.1), 2));
}

TEST(pair_posterior, is_that_of_the_genotypes) {
    const emission_table M = diploid_table(0.1);
    const std::array<double, 4> emission{0.5, 0.25, 0.25, 0.125}, weights{0.5 * 2, 0.25 * 5, 0.0, 0.125 * 3};
    const auto [one, two] = pair_posterior(weights, emission, M, nullptr);
    EXPECT_DOUBLE_EQ((2 * M[0][1] + 5 * M[1][1] + 3 * M[2][1]) / 10, one);
    EXPECT_DOUBLE_EQ((2 * M[0][2] + 5 * M[1][2] + 3 * M[2][2]) / 10, two);
}

TEST(pair_posterior, is_even_without_weight) {
    EXPECT_EQ((std::array{1.0 / 3, 1.0 / 3}), pair_posterior(nothing, ones, diploid_table(0.1), nullptr));
    EXPECT_EQ((std::array{1.0 / 3, 1.0 / 3}),
              pair_posterior({nan_value, 0.0, 0.0, 1.0}, ones, diploid_table(0.1), nullptr));
}

TEST(pair_posterior, is_joined_with_the_input_probabilities) {
    const std::array<float, 3> input{0.2F, 0.3F, 0.5F}, unknown{};
    const auto [one, two] = pair_posterior(nothing, ones, diploid_table(0.1), input.data());
    EXPECT_NEAR(0.3, one, 1e-7);
    EXPECT_NEAR(0.5, two, 1e-7);
    // Nothing is known: 0 / 0.
    EXPECT_TRUE(std::isnan(pair_posterior(nothing, ones, diploid_table(0.1), unknown.data())[0]));
}

TEST(ordered_posterior, is_that_of_each_haplotype) {
    const emission_table M = haploid_table(0.1);
    const std::array<double, 4> emission{0.5, 0.25, 0.2, 0.125}, weights{0.5 * 1, 0.25 * 2, 0.2 * 3, 0.125 * 4};
    const auto [p, q] = ordered_posterior(weights, emission, M);
    EXPECT_DOUBLE_EQ((3 * 0.1 + 7 * 0.9) / 10, p);
    EXPECT_DOUBLE_EQ((4 * 0.1 + 6 * 0.9) / 10, q);
}

TEST(ordered_posterior, is_even_without_weight) {
    EXPECT_EQ((std::array{0.5, 0.5}), ordered_posterior(nothing, ones, haploid_table(0.1)));
}

}  // namespace
