#include "inference/update/posteriors.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <vector>

#include "inference/model_run.h"

namespace {

constexpr double nan_value = std::numeric_limits<double>::quiet_NaN();

emission_table haploid_table(double mu) {
    return {{{1.0 - mu, mu, 1.0, 0.0}, {mu, 1.0 - mu, 1.0, 0.0}, {}}};
}

TEST(allele_one_chance, passes_the_copied_alleles_through_the_mutation_model) {
    const emission_table M = haploid_table(0.1);
    EXPECT_DOUBLE_EQ(0.1, allele_one_chance({2.0, 0.0}, M, -1));
    EXPECT_DOUBLE_EQ(0.9, allele_one_chance({0.0, 3.0}, M, -1));
    EXPECT_DOUBLE_EQ((0.1 * 3 + 0.9 * 1) / 4, allele_one_chance({3.0, 1.0}, M, -1));
    EXPECT_DOUBLE_EQ((0.1 * 3 + 0.9 * 1) / 4, allele_one_chance({3e-200, 1e-200}, M, -1)) << "any unit will do";
}

TEST(allele_one_chance, takes_out_the_observed_allele) {
    const emission_table M = haploid_table(0.1);
    EXPECT_DOUBLE_EQ((0.1 * 3 + 0.9 * 1) / 4, allele_one_chance({3.0 * 0.9, 1.0 * 0.1}, M, 0));
    EXPECT_DOUBLE_EQ((0.1 * 3 + 0.9 * 1) / 4, allele_one_chance({3.0 * 0.1, 1.0 * 0.9}, M, 1));
}

TEST(allele_one_chance, is_one_half_when_the_weights_say_nothing) {
    const emission_table M = haploid_table(0.0);
    EXPECT_EQ(0.5, allele_one_chance({0.0, 0.0}, M, -1));
    EXPECT_EQ(0.5, allele_one_chance({tol, 0.0}, M, -1)) << "the sum must lie above the smallest normal number";
    EXPECT_EQ(0.0, allele_one_chance({2 * tol, 0.0}, M, -1));
    EXPECT_EQ(0.5, allele_one_chance({nan_value, 1.0}, M, -1));
    EXPECT_EQ(0.5, allele_one_chance({0.0, 1.0}, M, 0)) << "0 / 0";
}

class posteriors : public ::testing::Test, protected model_run {
  protected:
    void SetUp() override {
        snp& site = add_site(100, 2);
        site.gtypes[2] = {3, 3};
        site.gtype_probs[2] = {0.2F, 0.3F, 0.5F, 0.0F, 0.0F, 0.0F};
        list_sites();
        give_haplotypes({2, 0, 4});
        for (std::size_t g = 0; g < 2; ++g) {
            run.acc.gtype_acc[g].allocate(2, {0}, 1);
            run.acc.gtype_acc2[g].allocate(1, {0}, 1);
        }
        const double a = 0.9, mu = 0.1;
        at(run.models.mutation, 0, 2, 2) = haploid_table(mu);
        at(run.models.mutation, 1, 2, 2) = {{{a * a, 2 * a * mu, mu * mu, 1.0},
                                             {a * mu, mu * mu + a * a, a * mu, 1.0},
                                             {mu * mu, 2 * a * mu, a * a, 1.0}}};
        run.params.pgs = true;
        run.params.print_allele_probs = true;
        target.genotype_probs = true;
        target.known_index = 0;
    }
    const snp& site() const { return *run.sites.in_order[0]; }
    void expect_genotype(double one, double two, std::size_t ind = 0) {
        EXPECT_DOUBLE_EQ(one, run.acc.gtype_acc[0].get(ind, 0));
        EXPECT_DOUBLE_EQ(two, run.acc.gtype_acc[1].get(ind, 0));
    }
    posterior_target target;
};

TEST_F(posteriors, of_a_pair_are_those_of_its_genotypes) {
    const emission_table& M = at(run.models.mutation, 1, 2, 2);
    const std::array<double, 4> emission{0.5, 0.25, 0.25, 0.125}, weights{0.5 * 2, 0.25 * 5, 0.0, 0.125 * 3};
    add_diploid_posterior(run, target, site(), weights, emission);
    add_diploid_posterior(run, target, site(), weights, emission);
    expect_genotype(2 * (2 * M[0][1] + 5 * M[1][1] + 3 * M[2][1]) / 10,
                    2 * (2 * M[0][2] + 5 * M[1][2] + 3 * M[2][2]) / 10);
}

TEST_F(posteriors, of_a_pair_without_weight_are_even) {
    const std::array<double, 4> ones{1.0, 1.0, 1.0, 1.0};
    add_diploid_posterior(run, target, site(), {0.0, 0.0, 0.0, 0.0}, ones);
    expect_genotype(1.0 / 3, 1.0 / 3);
    target.ind = 1;
    add_diploid_posterior(run, target, site(), {nan_value, 0.0, 0.0, 1.0}, ones);
    expect_genotype(1.0 / 3, 1.0 / 3, 1);
}

TEST_F(posteriors, of_a_pair_are_joined_with_the_input_probabilities) {
    run.params.pgs_prob = true;
    const std::array<double, 4> ones{1.0, 1.0, 1.0, 1.0};
    add_diploid_posterior(run, target, site(), {0.0, 0.0, 0.0, 0.0}, ones);
    EXPECT_NEAR(0.3, run.acc.gtype_acc[0].get(0, 0), 1e-7);
    EXPECT_NEAR(0.5, run.acc.gtype_acc[1].get(0, 0), 1e-7);
    target.ind = 1;  // nothing is known: 0 / 0
    add_diploid_posterior(run, target, site(), {0.0, 0.0, 0.0, 0.0}, ones);
    EXPECT_TRUE(std::isnan(run.acc.gtype_acc[0].get(1, 0)));
}

TEST_F(posteriors, of_ordered_haplotypes_without_weight_are_even) {
    const std::array<double, 4> nothing{0.0, 0.0, 0.0, 0.0}, ones{1.0, 1.0, 1.0, 1.0};
    add_ordered_posterior(run, target, site(), &nothing, ones);
    expect_genotype(0.5, 0.25);
    EXPECT_EQ(0.5, run.acc.gtype_acc2[0].get(0, 0));
    EXPECT_EQ(0.5, run.acc.gtype_acc2[1].get(0, 0));
}

TEST_F(posteriors, of_a_haploid_without_weight_are_even) {
    const allele_weights nothing{0.0, 0.0};
    add_haploid_posterior(run, target, site(), &nothing);
    expect_genotype(0.0, 0.5);
    EXPECT_EQ(0.5, run.acc.gtype_acc2[0].get(0, 0));
}

TEST_F(posteriors, are_needed_only_where_the_data_leave_something_open) {
    snp& here = *run.sites.in_order[0];
    EXPECT_TRUE(haploid_posterior_needed(run, target, here));
    EXPECT_TRUE(ordered_posterior_needed(run, target, here));
    EXPECT_TRUE(diploid_posterior_needed(run, target, here));
    here.known_phase_flags = {true, false};
    EXPECT_FALSE(haploid_posterior_needed(run, target, here));
    EXPECT_FALSE(ordered_posterior_needed(run, target, here));
    here.known_phase_flags.clear();
    here.gtypes[2][0] = 2;
    run.params.pgs = false;
    run.params.pgs_miss = run.plan.count_missing_only = true;
    EXPECT_FALSE(haploid_posterior_needed(run, target, here));
    EXPECT_FALSE(ordered_posterior_needed(run, target, here));
    EXPECT_FALSE(diploid_posterior_needed(run, target, here));
    target.genotype_probs = false;
    here.gtypes[2][0] = 3;
    EXPECT_FALSE(haploid_posterior_needed(run, target, here));
    EXPECT_FALSE(ordered_posterior_needed(run, target, here));
    EXPECT_FALSE(diploid_posterior_needed(run, target, here));
}

TEST_F(posteriors, of_a_certain_individual_are_its_alleles) {
    run.panels[2].haps.set(0, 0, 1);
    add_certain_individual(run, target, site(), false);
    expect_genotype(1.0, 0.0);
    EXPECT_EQ(1.0, run.acc.gtype_acc2[0].get(0, 0));
    EXPECT_EQ(0.0, run.acc.gtype_acc2[1].get(0, 0));
    run.panels[2].haps.set(1, 0, 1);
    add_certain_individual(run, target, site(), false);
    expect_genotype(1.0, 1.0);
    target.ind = 1;
    target.hap = 0;
    add_certain_individual(run, target, site(), true);
    expect_genotype(0.0, 1.0, 1);
}

TEST_F(posteriors, are_not_kept_for_an_individual_without_a_place) {
    target.known_index = -1;
    const allele_weights weights{1.0, 1.0};
    add_haploid_posterior(run, target, site(), &weights);
    EXPECT_EQ(0.0, run.acc.gtype_acc2[0].get(0, 0));
    expect_genotype(0.0, 0.5);
}

}  // namespace
