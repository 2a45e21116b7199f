#include "output/variants/variant_records.h"

#include <cmath>

#include "output/output_fixture.h"

namespace {

class variant_records : public output_fixture {
  protected:
    void SetUp() override {
        output_fixture::SetUp();
        run.params.outdp = 4;
    }
    // A genotype in words: alleles, dosage, probabilities, dosages by haplotype, confidence.
    static std::string text(const variant_genotype& g) {
        const auto number = [](int value) { return value < 0 ? std::string(".") : std::to_string(value); };
        std::string words = number(g.alleles[0]);
        if (!g.haploid) words += (g.phased ? "|" : "/") + number(g.alleles[1]);
        words += " " + (g.has_probs ? number(g.dosage) : ".");
        if (g.has_probs) {
            words += " " + number(g.probs[0]) + (g.haploid ? "," : "," + number(g.probs[1]) + ",") + number(g.probs[2]);
        }
        if (g.haps[0] >= 0) words += " h" + number(g.haps[0]) + (g.haploid ? "" : "," + number(g.haps[1]));
        if (g.confidence >= 0) words += " q" + number(g.confidence);
        return words;
    }
    std::vector<std::string> genotypes(const snp& site) {
        variant_block block(results, confidences);
        const std::vector<std::size_t> sites{at(site)};
        block.load(sites);
        std::vector<std::string> words;
        for (const variant_genotype& g : block.record(0).genotypes) words.push_back(text(g));
        return words;
    }
    std::optional<double> frequency(const snp& site) {
        variant_block block(results, confidences);
        const std::vector<std::size_t> sites{at(site)};
        block.load(sites);
        return block.record(0).frequency;
    }
    using texts = std::vector<std::string>;
    phase_confidences confidences;
};

TEST_F(variant_records, decimals_are_at_least_four_and_at_most_six) {
    for (const auto& [asked, given] : {std::pair(0, 4), std::pair(3, 4), std::pair(5, 5), std::pair(9, 6)}) {
        run.params.outdp = asked;
        EXPECT_EQ(variant_decimals(run.params), given);
    }
}

TEST_F(variant_records, imputed_site_has_the_likeliest_genotype_with_rounded_sums) {
    give_study(3);
    snp& site = add_site(110, 0);
    allocate();
    add_sums(site, 0, 0.25, 1.5);
    add_sums(site, 1, 2.0 / 3.0, 2.0 / 3.0);  // three thirds
    EXPECT_EQ(genotypes(site), (texts{"1/1 16250 1250,1250,7500", "0/0 10000 3334,3333,3333", "0/0 0 10000,0,0"}));
    EXPECT_DOUBLE_EQ(*frequency(site), 26250.0 / 60000.0);
}

TEST_F(variant_records, probabilities_sum_to_one_after_rounding) {
    give_study(1);
    snp& site = add_site(110, 0);
    allocate();
    for (int k = 0; k < 200; ++k) {
        run.acc.gtype_acc[0] = sum_table();
        allocate();
        const double one = 2.0 * std::fmod(0.37 * k, 0.61);
        const double two = 2.0 * std::fmod(0.11 * k, 0.38);
        add_sums(site, 0, one, two);
        variant_block block(results, confidences);
        block.load(std::vector<std::size_t>{0});
        const variant_genotype g = block.record(0).genotypes[0];
        EXPECT_EQ(g.probs[0] + g.probs[1] + g.probs[2], 10000);
        EXPECT_NEAR(g.probs[1], one * 5000, 1.01);
        EXPECT_NEAR(g.dosage, one * 5000 + two * 10000, 0.51);
    }
}

TEST_F(variant_records, dosage_above_one_has_five_decimals_at_most) {
    give_study(2);
    run.params.outdp = 8;
    snp& site = add_site(110, 0);
    allocate();
    add_sums(site, 0, 0.0, 1.2345678);
    add_sums(site, 1, 0.2345678, 0.0);
    EXPECT_EQ(genotypes(site), (texts{"1/1 1234570 382716,0,617284", "0/0 117284 882716,117284,0"}));
}

TEST_F(variant_records, missing_input_is_no_call_and_counts_for_nobody) {
    give_study(3);
    snp& site = add_site(110, 2);
    add_genotypes(site, {3, 1, 2});
    allocate();
    EXPECT_EQ(genotypes(site), (texts{"./. .", "0/1 10000 0,10000,0", "1/1 20000 0,0,10000"}));
    EXPECT_DOUBLE_EQ(*frequency(site), 0.75);
}

TEST_F(variant_records, site_where_everybody_misses_has_no_frequency) {
    give_study(1);
    snp& site = add_site(110, 2);
    add_genotypes(site, {3});
    allocate();
    EXPECT_EQ(frequency(site), std::nullopt);
}

TEST_F(variant_records, uncertain_input_is_scaled_and_zeros_are_no_call) {
    give_study(2);
    snp& site = add_site(110, 2);
    site.gtype_probs[2] = {0.125F, 0.125F, 0.25F, 0.0F, 0.0F, 0.0F};
    allocate();
    EXPECT_EQ(genotypes(site), (texts{"1/1 12500 2500,2500,5000", "./. ."}));
}

TEST_F(variant_records, missing_genotypes_under_pgs_miss_have_their_posteriors) {
    give_study(2);
    snp& site = add_site(110, 2);
    add_genotypes(site, {3, 3});
    allocate();
    run.params.pgs_miss = true;
    add_sums(site, 0, 0.5, 0.5);
    add_sums(site, 1, 2.0 / 3.0, 2.0 / 3.0);  // computed, though all are equal
    EXPECT_EQ(genotypes(site), (texts{"0/0 7500 5000,2500,2500", "0/0 10000 3334,3333,3333"}));
}

TEST_F(variant_records, haploid_has_one_allele_and_two_chances) {
    give_ploidies(2, {1, 2, 1});
    snp& imputed = add_site(110, 0);
    snp& typed = add_site(120, 2);
    typed.labels[2].freq = 0.5;
    typed.gtype_probs[2] = {0.25F, 0.5F, 0.75F, 0.0F, 1.0F, 0.0F, 0.0F, 1.0F, 0.0F};
    allocate();
    add_sums(imputed, 0, 0.0, 1.5);
    EXPECT_EQ(genotypes(imputed), (texts{"1 7500 2500,7500", "0/0 0 10000,0,0", "0 0 10000,0"}));
    EXPECT_DOUBLE_EQ(*frequency(imputed), 7500.0 / 40000.0);
    // A heterozygote says nothing of one who has one haplotype.
    EXPECT_EQ(genotypes(typed), (texts{"1 7500 2500,7500", "0/1 10000 0,10000,0", ". ."}));
    run.params.phase = true;
    EXPECT_EQ(genotypes(imputed)[0], "1 7500 2500,7500 h7500");
}

TEST_F(variant_records, estimated_phase_stands_at_typed_sites_only) {
    give_study(2);
    run.params.phase = true;
    snp& imputed = add_site(110, 0);
    snp& typed = add_site(120, 2);
    snp& study_only = add_site(130, 3);
    add_genotypes(typed, {1, 2});
    add_genotypes(study_only, {1, 0});
    allocate();
    set_alleles(2, typed, "1011");
    set_alleles(2, study_only, "1000");
    add_sums(imputed, 0, 2.0, 0.0);
    EXPECT_EQ(genotypes(typed), (texts{"1|0 10000 0,10000,0 h10000,0", "1|1 20000 0,0,10000 h10000,10000"}));
    EXPECT_EQ(genotypes(imputed), (texts{"0/1 10000 0,10000,0", "0/0 0 10000,0,0"}));
    EXPECT_EQ(genotypes(study_only), (texts{"0/1 10000 0,10000,0", "0/0 0 10000,0,0"}));
}

TEST_F(variant_records, missing_genotype_has_the_alleles_that_phasing_found_and_no_dosage) {
    give_study(1);
    run.params.phase = true;
    snp& typed = add_site(120, 2);
    add_genotypes(typed, {3});
    allocate();
    set_alleles(2, typed, "01");
    EXPECT_EQ(genotypes(typed), (texts{"0|1 ."}));
    EXPECT_DOUBLE_EQ(*frequency(typed), 0.5);
}

TEST_F(variant_records, uncertain_genotype_has_a_phase_but_no_dosage_by_haplotype) {
    give_study(1);
    run.params.phase = run.params.prob_g = true;
    snp& typed = add_site(120, 2);
    typed.gtype_probs[2] = {0.25F, 0.75F, 0.0F};
    allocate();
    set_alleles(2, typed, "01");
    EXPECT_EQ(genotypes(typed), (texts{"0|1 7500 2500,7500,0"}));
}

TEST_F(variant_records, confidence_of_a_phase_is_a_phred_number) {
    give_study(4);
    run.params.phase = true;
    run.panels[2].ordered = {false, true, false, false};
    snp& typed = add_site(120, 2);
    add_genotypes(typed, {1, 1, 0, 1});
    allocate();
    set_alleles(2, typed, "01010001");
    confidences = {{0.9, no_phase_call, 1.0}};
    EXPECT_EQ(genotypes(typed), (texts{"0|1 10000 0,10000,0 h0,10000 q10", "0|1 10000 0,10000,0 h0,10000",
                                       "0|0 0 10000,0,0 h0,0", "0|1 10000 0,10000,0 h0,10000 q99"}));
    confidences = {{0.5, no_phase_call, 0.999999999999}};
    EXPECT_EQ(genotypes(typed)[0], "0|1 10000 0,10000,0 h0,10000 q3");
    EXPECT_EQ(genotypes(typed)[3], "0|1 10000 0,10000,0 h0,10000 q99");
}

TEST_F(variant_records, known_haplotypes_give_typed_sites_their_phase) {
    give_study(3);
    run.params.known_haps_g_file = "known.haps";
    run.panels[2].ordered = {true, false, true};
    snp& typed = add_site(120, 2);
    add_genotypes(typed, {1, 1, 3});
    typed.known_phase_flags = {true, false, false};
    allocate();
    set_alleles(2, typed, "100101");
    EXPECT_EQ(genotypes(typed), (texts{"1|0 10000 0,10000,0 h10000,0", "0/1 10000 0,10000,0", "./. ."}));
}

TEST_F(variant_records, known_haplotypes_carry_their_phase_to_imputed_sites) {
    give_study(4);
    run.params.known_haps_g_file = "known.haps";
    run.panels[2].ordered = {true, false, true, true};
    snp& imputed = add_site(110, 0);
    allocate();
    const auto add_chances = [&](std::size_t i, std::size_t slot, double a, double b) {
        add_sums(imputed, i, 2.0 * (a * (1.0 - b) + b * (1.0 - a)), 2.0 * a * b);
        run.acc.gtype_acc2[0].add(slot, 0, 2.0 * a);
        run.acc.gtype_acc2[1].add(slot, 0, 2.0 * b);
    };
    add_chances(0, 0, 0.875, 0.125);
    add_sums(imputed, 1, 2.0, 0.0);
    add_chances(2, 1, 0.5, 0.5);  // which comes first nobody knows
    add_chances(3, 2, 0.125, 0.25);
    EXPECT_EQ(genotypes(imputed), (texts{"1|0 10000 1094,7812,1094 h8750,1250", "0/1 10000 0,10000,0",
                                         "0/1 10000 2500,5000,2500", "0|0 3750 6562,3125,313 h1250,2500"}));
    run.params.mc_impute = true;
    allocate_tallies();
    EXPECT_EQ(genotypes(imputed)[0], "0/0 0 10000,0,0");
}

TEST_F(variant_records, sums_that_do_not_make_up_the_dosage_are_left_out) {
    give_study(1);
    run.params.known_haps_g_file = "known.haps";
    run.panels[2].ordered = {true};
    snp& imputed = add_site(110, 0);
    allocate();
    add_sums(imputed, 0, 1.0, 0.0);
    run.acc.gtype_acc2[1].add(0, 0, 2.0);
    EXPECT_EQ(genotypes(imputed), (texts{"0|0 5000 5000,5000,0"}));
}

TEST_F(variant_records, prephased_study_has_its_haplotypes_at_sites_of_the_study_alone) {
    give_study(2);
    run.params.phase = run.params.use_prephased_g = true;
    run.panels[2].ordered = {true, true};
    snp& site = add_site(110, 3);
    add_genotypes(site, {1, 3});
    allocate();
    set_alleles(2, site, "1000");
    site.haps[2] = allele_row(4, 0);
    site.haps[2].set(0, 1);
    site.haps[2].set(3, missing_allele);
    EXPECT_EQ(genotypes(site), (texts{"1|0 10000 0,10000,0 h10000,0", "./. ."}));
}

TEST_F(variant_records, everybody_known_or_sampled_imputation_phases_imputed_sites_too) {
    give_study(1);
    run.params.phase = true;
    snp& imputed = add_site(110, 0);
    allocate();
    allocate_tallies();
    set_alleles(2, imputed, "10");
    add_sums(imputed, 0, 2.0, 0.0);
    EXPECT_EQ(genotypes(imputed)[0], "0/1 10000 0,10000,0");
    run.panels[2].ordered = {true};
    EXPECT_EQ(genotypes(imputed)[0], "1|0 10000 0,10000,0 h10000,0");
    run.panels[2].ordered = {false};
    run.params.mc_impute = true;
    run.acc.tallies[0].miss_counts[0] = {2};
    EXPECT_EQ(genotypes(imputed)[0], "1|0 10000 0,10000,0 h10000,0");
}

TEST_F(variant_records, interval_is_that_of_the_haplotypes_under_phase) {
    give_study(1);
    for (const long position : {60L, 110L, 240L}) add_site(position, 0);
    run.params.include_buffer_in_output = run.params.include_buffer_in_output_haps_only = true;
    EXPECT_EQ(variant_sites(results), std::vector<std::size_t>{1});
    run.params.phase = true;
    EXPECT_EQ(variant_sites(results), (std::vector<std::size_t>{0, 1, 2}));
    run.plan.output_types[0] = false;
    EXPECT_TRUE(variant_sites(results).empty());
}

TEST_F(variant_records, quality_is_there_where_the_quality_file_has_a_line) {
    give_study(1);
    snp& imputed = add_site(110, 0);
    snp& typed = add_site(120, 2);
    add_genotypes(typed, {1});
    run.params.store_input_probs = {false, false};
    allocate();
    variant_block block(results, confidences);
    block.load(std::vector<std::size_t>{at(imputed), at(typed)});
    EXPECT_TRUE(block.record(0).quality);
    EXPECT_FALSE(block.record(1).quality);
}

TEST_F(variant_records, impossible_sums_end_the_run) {
    give_study(1);
    snp& site = add_site(110, 0);
    allocate();
    add_sums(site, 0, 2.0, 1.0);
    try {
        genotypes(site);
        FAIL() << "taken for possible";
    } catch (const run_fault& fault) {
        EXPECT_STREQ(
            "ERROR: The imputed genotype probabilities for the SNP at position 110 do not sum to 1.0; this implies "
            "that "
            "there was a problem with the imputation. Please contact the authors for assistance.",
            fault.what());
    }
}

}  // namespace
