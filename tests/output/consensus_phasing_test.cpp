#include "output/consensus_phasing.h"

#include <cmath>
#include <limits>

#include "output_fixture.h"

namespace {

const std::string fixed_line = "\n-generating consensus haplotype estimates (relative to fixed input haps)\n";
const std::string pairwise_line = "\n-generating consensus haplotype estimates (minimizing switch error)\n";

class consensus_phasing : public output_fixture {
  protected:
    void know(const std::vector<bool>& known) { run.panels[2].ordered = known; }
    void add_allele_sums(const snp& site, std::size_t slot, double first, double second) {
        run.acc.gtype_acc2[0].add(slot, at(site), first);
        run.acc.gtype_acc2[1].add(slot, at(site), second);
    }
    void fixed() { phase_fixed(results, run.panels[2].haps, run.acc.mcmc_bits); }
    void pairwise() { confidences = phase_pairwise(results, run.panels[2].haps, run.acc.mcmc_bits); }
    double certainty(const snp& site, std::size_t slot = 0) { return confidences[at(site)][slot]; }
    phase_confidences confidences;
    static std::string sum_message(const std::string& who, const std::string& function) {
        return "ERROR: The imputed genotype probabilities for " + who +
               " (1-indexed) at SNP position 150 do not sum to 1.0 in the " + function +
               "() function; this implies that there was a problem with the imputation. Please contact the authors for "
               "assistance.";
    }
};

// --- which_max_idx ------------------------------------------------------------------------------------------------

TEST_F(consensus_phasing, single_largest_value_takes_no_draw) {
    EXPECT_EQ(which_max_idx(std::vector<double>{0.2, 0.5, 0.3}), 1U);
    EXPECT_EQ(which_max_idx(std::vector<double>{0.0, 0.0, 1.0}), 2U);
}

TEST_F(consensus_phasing, tied_values_are_drawn_with_equal_chance) {
    draws.add({0.5, 0.5000001});
    const std::vector<double> tied{0.1, 0.45, 0.45 + 1e-12};
    EXPECT_EQ(which_max_idx(tied), 1U);  // a draw at the bound belongs to the first
    EXPECT_EQ(which_max_idx(tied), 2U);
    draws.add({0.3, 0.6, 0.9, 1.0});
    const std::vector<double> three{0.3, 0.3, 0.3};
    for (const std::size_t expected : {0U, 1U, 2U, 2U}) EXPECT_EQ(which_max_idx(three), expected);
}

TEST_F(consensus_phasing, zeros_tie_with_the_start) {
    draws.add({0.4});
    EXPECT_EQ(which_max_idx(std::vector<double>{0.0, 0.0, 0.0}), 1U);
}

TEST_F(consensus_phasing, negative_values_only_give_the_last_index) {
    EXPECT_EQ(which_max_idx(std::vector<double>{-1.0, -2.0, -3.0}), 2U);
}

// --- check of the triple ------------------------------------------------------------------------------------------

TEST_F(consensus_phasing, triple_must_sum_to_1) {
    check_phasing_probs(run.log, {0.25, 0.5, 0.25}, 2, 150, true, false);
    check_phasing_probs(run.log, {0.25, 0.5, 0.25 + 5e-11}, 2, 150, false, false);
    expect_fatal(sum_message("ordered individual 3", "phase_fixed"), [&] {
        check_phasing_probs(run.log, {0.25, 0.5, 0.26}, 2, 150, true, false);
    });
}

TEST_F(consensus_phasing, triple_of_an_individual_without_known_haplotypes_must_sum_to_1) {
    expect_fatal(sum_message("individual 3", "phase_pairwise"), [&] {
        check_phasing_probs(run.log, {0.25, 0.5, 0.2}, 2, 150, false, false);
    });
}

TEST_F(consensus_phasing, haploid_with_known_haplotypes_may_not_be_heterozygous) {
    check_phasing_probs(run.log, {0.5, 5e-11, 0.5}, 0, 150, true, true);
    check_phasing_probs(run.log, {0.5, 0.5, 0.0}, 0, 150, false, true);
    expect_fatal(
        "ERROR: The imputed genotype probabilities for ordered individual 1 (1-indexed) at SNP position "
        "150 include mass on the heterozygous genotype, but the individual is listed as haploid. This "
        "issue was detected in the phase_fixed() function, and it implies that there was a problem with "
        "the imputation. Please contact the authors for assistance.",
        [&] {
            check_phasing_probs(run.log, {0.5, 0.5, 0.0}, 0, 150, true, true);
        });
}

// --- known haplotypes ---------------------------------------------------------------------------------------------

TEST_F(consensus_phasing, fixed_form_needs_somebody_with_known_haplotypes) {
    give_study(1);
    fixed();
    EXPECT_EQ(terminal(), "");
}

TEST_F(consensus_phasing, fixed_form_phases_by_the_allele_chances) {
    give_study(4);
    know({true, true, false, true});
    snp& site = add_site(150, 2);
    add_genotypes(site, {1, 1, 1, 0});
    allocate();
    set_alleles(2, site, "00000011");
    add_allele_sums(site, 0, 1.5, 0.5);
    add_allele_sums(site, 1, 0.5, 1.0);
    fixed();
    EXPECT_EQ(alleles_of(2, site), "10010000");  // the third is not touched, the fourth is homozygous
    EXPECT_EQ(terminal(), fixed_line);
    EXPECT_EQ(summary(), fixed_line);
}

TEST_F(consensus_phasing, fixed_form_leaves_known_phase_alone) {
    give_study(2);
    know({true, true});
    snp& site = add_site(150, 2);
    add_genotypes(site, {2, 2});
    site.known_phase_flags = {true, false};
    allocate();
    fixed();
    EXPECT_EQ(alleles_of(2, site), "0011");
}

TEST_F(consensus_phasing, fixed_form_draws_when_the_weights_tie) {
    give_study(3);
    know({true, true, true});
    snp& site = add_site(150, 2);
    add_genotypes(site, {1, 1, 1});
    allocate();
    add_allele_sums(site, 0, 1.0, 1.0);
    add_allele_sums(site, 1, 0.0, 0.0);  // both weights zero
    add_allele_sums(site, 2, 1.0, 1.0);
    draws.add({0.5, 0.51, 0.2});
    fixed();
    EXPECT_EQ(alleles_of(2, site), "011001");
}

TEST_F(consensus_phasing, fixed_form_takes_a_missing_genotype_from_the_allele_chances) {
    give_study(3);
    know({true, true, true});
    snp& site = add_site(150, 2);
    add_genotypes(site, {3, 3, 3});
    allocate();
    add_allele_sums(site, 0, 1.9, 1.9);
    add_allele_sums(site, 1, 1.9, 0.1);
    add_allele_sums(site, 2, 0.1, 0.1);
    fixed();
    EXPECT_EQ(alleles_of(2, site), "111000");
}

TEST_F(consensus_phasing, fixed_form_takes_haploids_from_one_allele_chance) {
    give_ploidies(2, {1, 1});
    know({true, true});
    snp& site = add_site(150, 2);
    add_genotypes(site, {3, 3});
    allocate();
    add_allele_sums(site, 0, 1.5, 0.0);
    add_allele_sums(site, 1, 0.5, 0.0);
    set_alleles(2, site, "01");
    fixed();
    EXPECT_EQ(alleles_of(2, site), "10");
}

TEST_F(consensus_phasing, fixed_form_takes_imputed_sites_when_everybody_is_known) {
    give_study(2);
    know({true, true});
    snp& site = add_site(150, 0);
    allocate();
    add_sums(site, 0, 0.0, 2.0);
    add_sums(site, 1, 1.2, 0.4);
    add_allele_sums(site, 1, 0.4, 1.6);
    fixed();
    EXPECT_EQ(alleles_of(2, site), "1101");
}

TEST_F(consensus_phasing, fixed_form_passes_over_imputed_sites_when_somebody_is_not_known) {
    give_study(2);
    know({true, false});
    snp& site = add_site(150, 0);
    allocate();
    add_sums(site, 0, 0.0, 2.0);
    fixed();
    EXPECT_EQ(alleles_of(2, site), "0000");
}

TEST_F(consensus_phasing, imputed_sites_of_a_weighted_run_are_divided_by_the_weights) {
    give_study(1);
    know({true});
    snp& site = add_site(150, 1);
    allocate();
    run.params.weight_imputed_gt = 1;
    run.acc.weight_sum[1] = {8.0};
    add_sums(site, 0, 0.0, 3.0);  // 0.375 by the weights, beyond 1 by the iterations
    fixed();
    EXPECT_EQ(alleles_of(2, site), "00");
}

TEST_F(consensus_phasing, fixed_form_passes_over_sites_without_part_in_the_models) {
    give_study(1);
    know({true});
    snp& study_only = add_site(120, 3);
    add_genotypes(study_only, {2});
    snp& outside = add_site(210, 2);
    add_genotypes(outside, {2});
    allocate();
    fixed();
    EXPECT_EQ(alleles_of(2, study_only), "00");
    EXPECT_EQ(alleles_of(2, outside), "00");
    run.params.include_buffer_in_output = run.params.include_buffer_in_output_haps_only = true;
    run.plan.output_types[2] = false;
    fixed();
    EXPECT_EQ(alleles_of(2, outside), "00");
    run.plan.output_types[2] = true;
    fixed();
    EXPECT_EQ(alleles_of(2, outside), "11");
}

TEST_F(consensus_phasing, fixed_form_under_mc_impute_counts_samples) {
    run.plan.stored_iters = {1, 2, 3};
    give_study(3);
    know({false, true, true});
    snp& site = add_site(150, 0);
    snp& typed = add_site(160, 2);
    add_genotypes(typed, {1, 1, 3});
    allocate();
    allocate_tallies();
    run.params.mc_impute = true;
    run.acc.tallies[0].miss_counts = {std::vector<int>{0, 3, 0}, std::vector<int>{0, 0, 3}};
    add_samples(site, 1, "10 10 01");
    add_samples(typed, 1, "01 01 10");
    add_samples(typed, 2, "11 11 01");  // two of three are 1 1
    fixed();
    EXPECT_EQ(alleles_of(2, site), "001011");
    EXPECT_EQ(alleles_of(2, typed), "000111");
}

TEST_F(consensus_phasing, posteriors_of_study_sites_are_used_under_pgs_prob) {
    give_study(1);
    know({true});
    snp& site = add_site(150, 2);
    add_genotypes(site, {0});
    allocate();
    run.params.prob_g = run.params.pgs_prob = true;
    add_sums(site, 0, 0.0, 2.0);
    fixed();
    EXPECT_EQ(alleles_of(2, site), "11");
}

TEST_F(consensus_phasing, posteriors_of_missing_genotypes_are_used_under_pgs_miss) {
    give_study(2);
    know({true, true});
    snp& site = add_site(150, 2);
    add_genotypes(site, {0, 3});
    allocate();
    run.params.pgs_miss = true;
    add_sums(site, 0, 0.0, 2.0);
    add_sums(site, 1, 0.0, 2.0);
    fixed();
    EXPECT_EQ(alleles_of(2, site), "0011");
}

// --- pairwise -----------------------------------------------------------------------------------------------------

TEST_F(consensus_phasing, pairwise_form_needs_somebody_without_known_haplotypes) {
    give_study(1);
    know({true});
    pairwise();
    EXPECT_EQ(terminal(), "");
}

TEST_F(consensus_phasing, single_het_is_certain_and_homozygotes_have_no_call) {
    give_study(1);
    snp& zero = add_site(110, 2);
    snp& het = add_site(120, 2);
    snp& two = add_site(130, 2);
    add_genotypes(zero, {0});
    add_genotypes(het, {1});
    add_genotypes(two, {2});
    allocate();
    set_alleles(2, zero, "11");
    set_alleles(2, het, "10");
    pairwise();
    EXPECT_EQ(alleles_of(2, zero), "00");
    EXPECT_EQ(alleles_of(2, het), "01");
    EXPECT_EQ(alleles_of(2, two), "11");
    EXPECT_EQ(certainty(zero), -1.0);
    EXPECT_EQ(certainty(het), 1.0);
    EXPECT_EQ(certainty(two), -1.0);
    EXPECT_EQ(terminal(), pairwise_line);
    EXPECT_EQ(summary(), pairwise_line);
}

TEST_F(consensus_phasing, hets_follow_the_phase_that_most_iterations_have) {
    run.plan.stored_iters = {1, 2, 3, 4};
    give_study(1);
    snp& first = add_site(110, 2);
    snp& second = add_site(120, 2);
    snp& third = add_site(130, 2);
    snp& fourth = add_site(140, 2);
    for (snp* site : {&first, &second, &third, &fourth}) add_genotypes(*site, {1});
    allocate();
    add_samples(first, 0, "01 01 10 11");   // the last one is no het
    add_samples(second, 0, "10 10 10 01");  // opposite, opposite, same
    add_samples(third, 0, "10 10 10 10");   // same three times, opposite
    add_samples(fourth, 0, "01 01 01 01");  // opposite
    pairwise();
    EXPECT_EQ(alleles_of(2, first), "01");
    EXPECT_EQ(alleles_of(2, second), "10");
    EXPECT_EQ(alleles_of(2, third), "10");
    EXPECT_EQ(alleles_of(2, fourth), "01");
    EXPECT_DOUBLE_EQ(certainty(second), 2.0 / 3.0);
    EXPECT_DOUBLE_EQ(certainty(third), 0.75);
    EXPECT_DOUBLE_EQ(certainty(fourth), 1.0);
}

TEST_F(consensus_phasing, tie_is_drawn_and_does_not_feed_into_the_phase_that_is_carried) {
    give_study(1);
    snp& first = add_site(110, 2);
    snp& tied = add_site(120, 2);
    snp& tied_too = add_site(130, 2);
    snp& last = add_site(140, 2);
    for (snp* site : {&first, &tied, &tied_too, &last}) add_genotypes(*site, {1});
    allocate();
    add_samples(first, 0, "01 01");
    add_samples(tied, 0, "01 10");
    add_samples(tied_too, 0, "00 11");  // never a het: nothing to count
    add_samples(last, 0, "01 01");
    draws.add({0.500001, 0.5, 0.7});
    pairwise();
    EXPECT_EQ(alleles_of(2, tied), "10");
    EXPECT_EQ(alleles_of(2, tied_too), "01");
    EXPECT_EQ(alleles_of(2, last), "10");
    EXPECT_EQ(certainty(tied), 0.5);
    EXPECT_EQ(certainty(tied_too), 0.5);
    EXPECT_EQ(certainty(last), 0.5);
}

TEST_F(consensus_phasing, phase_after_a_tie_starts_from_the_carried_allele) {
    run.plan.stored_iters = {1, 2, 3, 4};
    give_study(1);
    snp& first = add_site(110, 2);
    snp& tied = add_site(120, 2);
    snp& last = add_site(130, 2);
    for (snp* site : {&first, &tied, &last}) add_genotypes(*site, {1});
    allocate();
    add_samples(first, 0, "01 01 01 01");
    add_samples(tied, 0, "01 10 01 10");
    add_samples(last, 0, "01 10 01 01");  // same as the tied site in three of four
    draws.add({0.9});
    pairwise();
    EXPECT_EQ(alleles_of(2, tied), "10");
    EXPECT_EQ(alleles_of(2, last), "01");  // although the tied site went the other way
    EXPECT_EQ(certainty(last), 0.75);
}

TEST_F(consensus_phasing, empty_store_of_samples_gives_random_phase_at_later_hets) {
    run.plan.stored_iters.clear();
    give_study(1);
    snp& first = add_site(110, 2);
    snp& second = add_site(120, 2);
    for (snp* site : {&first, &second}) add_genotypes(*site, {1});
    allocate();
    draws.add({0.6});
    pairwise();
    EXPECT_EQ(certainty(first), 1.0);
    EXPECT_EQ(alleles_of(2, second), "10");
    EXPECT_EQ(certainty(second), 0.5);
}

TEST_F(consensus_phasing, more_iterations_than_a_word_has_bits) {
    run.plan.stored_iters.assign(150, 0);
    give_study(1);
    snp& first = add_site(110, 2);
    snp& second = add_site(120, 2);
    for (snp* site : {&first, &second}) add_genotypes(*site, {1});
    allocate();
    std::string ones;
    std::string mixed;
    for (int k = 0; k < 150; ++k) {
        ones += "10 ";
        mixed += k % 3 == 0 ? "10 " : "01 ";
    }
    add_samples(first, 0, ones);
    add_samples(second, 0, mixed);
    pairwise();
    EXPECT_EQ(alleles_of(2, second), "10");
    EXPECT_DOUBLE_EQ(certainty(second), 100.0 / 150.0);
}

TEST_F(consensus_phasing, individuals_without_known_haplotypes_have_slots_of_their_own) {
    give_study(3);
    know({false, true, false});
    snp& first = add_site(110, 2);
    snp& second = add_site(120, 2);
    for (snp* site : {&first, &second}) add_genotypes(*site, {1, 1, 1});
    allocate();
    add_samples(first, 0, "01 01");
    add_samples(second, 0, "01 01");
    add_samples(first, 1, "01 01");
    add_samples(second, 1, "10 10");
    pairwise();
    EXPECT_EQ(alleles_of(2, second), "010010");
    ASSERT_EQ(confidences[at(second)].size(), 2U);
    EXPECT_EQ(certainty(second, 1), 1.0);
}

TEST_F(consensus_phasing, samples_under_mc_impute_lie_by_individual) {
    give_study(2);
    know({true, false});
    snp& first = add_site(110, 0);
    snp& second = add_site(120, 0);
    allocate();
    allocate_tallies();
    run.params.mc_impute = true;
    for (auto& tally : run.acc.tallies) tally.miss_counts = {std::vector<int>{0, 2}, std::vector<int>{0, 0}};
    add_samples(first, 1, "01 01");
    add_samples(second, 1, "10 10");
    pairwise();
    EXPECT_EQ(alleles_of(2, second), "0010");
    EXPECT_EQ(certainty(second), 1.0);
}

TEST_F(consensus_phasing, missing_genotype_is_the_likeliest_of_the_samples) {
    run.plan.stored_iters = {1, 2, 3};
    give_study(1);
    snp& two = add_site(110, 2);
    snp& het = add_site(120, 2);
    snp& zero = add_site(130, 2);
    for (snp* site : {&two, &het, &zero}) add_genotypes(*site, {3});
    allocate();
    add_samples(two, 0, "11 11 01");
    add_samples(het, 0, "10 01 11");
    add_samples(zero, 0, "00 00 01");
    pairwise();
    EXPECT_EQ(alleles_of(2, two), "11");
    EXPECT_EQ(alleles_of(2, het), "01");
    EXPECT_EQ(alleles_of(2, zero), "00");
}

TEST_F(consensus_phasing, missing_genotype_in_exact_tie_is_drawn) {
    give_study(1);
    snp& site = add_site(110, 2);
    add_genotypes(site, {3});
    allocate();
    add_samples(site, 0, "11 00");
    draws.add({0.6});
    pairwise();
    EXPECT_EQ(alleles_of(2, site), "11");
}

TEST_F(consensus_phasing, haploid_has_its_first_haplotype_set_alone) {
    give_ploidies(2, {1, 1, 2});
    snp& site = add_site(110, 2);
    add_genotypes(site, {2, 3, 0});
    allocate();
    add_samples(site, 1, "1 1");
    set_alleles(2, site, "0011");
    pairwise();
    EXPECT_EQ(alleles_of(2, site), "1100");
}

TEST_F(consensus_phasing, pairwise_form_passes_over_imputed_sites_without_mc_impute) {
    give_study(1);
    snp& imputed = add_site(110, 0);
    snp& study_only = add_site(120, 3);
    add_genotypes(study_only, {2});
    allocate();
    add_sums(imputed, 0, 0.0, 2.0);
    pairwise();
    EXPECT_EQ(alleles_of(2, imputed), "00");
    EXPECT_EQ(alleles_of(2, study_only), "00");
}

TEST_F(consensus_phasing, study_sites_without_reference_are_phased) {
    give_study(1);
    give_no_reference();
    snp& site = add_site(110, 3);
    add_genotypes(site, {2});
    allocate();
    pairwise();
    EXPECT_EQ(alleles_of(2, site), "11");
}

TEST_F(consensus_phasing, impossible_sums_end_the_run) {
    give_study(1);
    know({true});
    snp& site = add_site(150, 0);
    allocate();
    add_sums(site, 0, std::numeric_limits<double>::quiet_NaN(), 1.0);
    expect_fatal(sum_message("ordered individual 1", "phase_fixed"), [&] { fixed(); });
}

// --- by sums ------------------------------------------------------------------------------------------------------

TEST_F(consensus_phasing, sums_decide_and_tell_the_confidence) {
    give_study(1);
    for (const long position : {110, 120, 130}) add_genotypes(add_site(position, 2), {1});
    allocate();
    run.acc.phase = {{{0, 1, 2}, {0.0, 1.0, -1.8}, {0.0, 0.0, 0.0}, 2}};
    pairwise();
    const std::array sites{run.sites.in_order[0], run.sites.in_order[1], run.sites.in_order[2]};
    EXPECT_EQ("01", alleles_of(2, *sites[0]));
    EXPECT_EQ("01", alleles_of(2, *sites[1]));
    EXPECT_EQ("10", alleles_of(2, *sites[2]));
    EXPECT_EQ(1.0, certainty(*sites[0]));
    const auto tempered = [](double p, double power) {
        return std::pow(p, power) / (std::pow(p, power) + std::pow(1.0 - p, power));
    };
    EXPECT_DOUBLE_EQ(tempered(0.75, 0.7), certainty(*sites[1]));
    EXPECT_DOUBLE_EQ(tempered(0.95, 0.7), certainty(*sites[2]));
    run.acc.final_rounds = 1;
    pairwise();
    EXPECT_DOUBLE_EQ(tempered(0.95, 0.85), certainty(*sites[2])) << "sums of the final pass are less too sure";
    run.acc.final_rounds = 2;
    pairwise();
    EXPECT_DOUBLE_EQ(0.95, certainty(*sites[2])) << "those of several rounds are as sure as they may be";
}

// The second site tells nothing, such as a wrong genotype; the third follows the first one.
TEST_F(consensus_phasing, sums_carry_the_phase_over_a_site_that_has_none) {
    give_study(1);
    for (const long position : {110, 120, 130}) add_genotypes(add_site(position, 2), {1});
    allocate();
    run.acc.phase = {{{0, 1, 2}, {0.0, -0.01, -0.01}, {0.0, 0.0, -0.9}, 1}};
    pairwise();
    EXPECT_EQ("01", alleles_of(2, *run.sites.in_order[0]));
    EXPECT_EQ("10", alleles_of(2, *run.sites.in_order[1]));
    EXPECT_EQ("10", alleles_of(2, *run.sites.in_order[2]));
    EXPECT_NEAR(0.4965, certainty(*run.sites.in_order[2]), 1e-4) << "relative to the one before";
}

TEST_F(consensus_phasing, heterozygotes_without_sums_follow_the_last_one_that_has_some_by_samples) {
    give_study(1);
    for (const int genotype : {1, 3, 1}) {
        add_genotypes(add_site(110 + 10 * static_cast<long>(run.sites.store.size()), 2), {genotype});
    }
    allocate();
    run.acc.phase = {{{0, 2}, {0.0, 2.0}, {0.0, 0.0}, 2}};
    for (std::size_t it = 0; it < 2; ++it) {
        run.acc.mcmc_bits.set(0, 1, 0, it, true);
        run.acc.mcmc_bits.set(0, 0, 1, it, true);
        run.acc.mcmc_bits.set(0, 1, 2, it, true);
    }
    pairwise();
    EXPECT_EQ("01", alleles_of(2, *run.sites.in_order[0]));
    EXPECT_EQ("10", alleles_of(2, *run.sites.in_order[1]));
    EXPECT_EQ("01", alleles_of(2, *run.sites.in_order[2])) << "not turned by the one between";
}

}  // namespace
