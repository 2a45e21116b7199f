#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <string>
#include <vector>

#include "inference/model_run.h"
#include "inference/update/recording.h"

namespace {

// Sites by index: types 0, 1, 2 inside the interval 100 to 200 and on its edges, one without a part in the models, and
// one outside on each side.
constexpr std::size_t left = 0, edge0 = 1, imputed1 = 2, typed = 3, apart = 4, borrowed = 5, typed_too = 6, edge1 = 7,
                      right = 8, n_sites = 9;

class counts : public ::testing::Test, protected model_run {
  protected:
    void SetUp() override {
        capture.open(run.log);
        run.plan.n_panels = 3;
        run.plan.int_lower_bp = 100;
        run.plan.int_upper_bp = 200;
        run.plan.buffer_lower = 95;
        run.plan.buffer_upper = 205;
        add_site(95, 0);
        add_site(100, 0);
        add_site(110, 1);
        add_site(120, 2);
        add_site(130, 3);
        add_site(140, 0, 1);
        add_site(150, 2);
        add_site(200, 1);
        add_site(205, 0);
        list_sites();
        give_haplotypes({4, 0, 6});
        input_source source(1);
        for (std::size_t h = 0; h < 2; ++h) {
            for (double& p : imputed.chance[h]) p = source.uniform();
            for (std::size_t cond = 0; cond < 2; ++cond) {
                for (double& p : imputed.chance_unseen[cond][h]) p = source.uniform();
            }
        }
        const std::vector<int> columns = column_a_site(n_sites);
        for (std::size_t g = 0; g < 2; ++g) {
            run.acc.gtype_acc[g].allocate(3, columns, n_sites);
            run.acc.gtype_acc2[g].allocate(2, columns, n_sites);
            for (std::size_t cond = 0; cond < 2; ++cond) run.acc.gtype_acc3[cond][g].allocate(3, columns, n_sites);
        }
        run.acc.mcmc_bits.allocate(3, columns, n_sites, 70);
        run.plan.output_types = {true, true, true, true};
    }
    double a(std::size_t s) const { return imputed.chance[0][s]; }
    double b(std::size_t s) const { return imputed.chance[1][s]; }
    static double het(double p, double q) { return (1.0 - q) * p + (1.0 - p) * q; }
    void store(const study_member& member, std::size_t stored_count = 0, bool selfcheck = false) {
        record_imputed_individual(run.log, run.inputs(), member, stored_count, selfcheck, imputed, run.acc);
    }
    // Individual 1 of the study, of unknown phase.
    void store_unknown(std::size_t stored_count = 0, bool selfcheck = false, bool diploid = true) {
        store({1, diploid ? 2U : 1U, diploid, false, 1}, stored_count, selfcheck);
    }
    // Individual 1 of the study as the first with known haplotypes.
    void store_known(std::size_t stored_count = 0, bool diploid = true) {
        store({1, diploid ? 2U : 1U, diploid, true, 0}, stored_count);
    }
    std::string set_bits(std::size_t slot, int h, std::size_t iteration) const {
        std::string text;
        for (std::size_t s = 0; s < n_sites; ++s) text += run.acc.mcmc_bits.get(slot, h, s, iteration) ? '1' : '0';
        return text;
    }
    void fill_study(input_source& source) {
        for (std::size_t h = 0; h < 6; ++h) {
            for (std::size_t s = 0; s < n_sites; ++s) run.panels[2].haps.set(h, s, source.integer(0, 1));
        }
    }
    // The alleles of a study haplotype at some sites, zeros elsewhere.
    std::string alleles_at(std::size_t hap, const std::vector<std::size_t>& at_sites) const {
        std::string text(n_sites, '0');
        for (const std::size_t s : at_sites) text[s] = run.panels[2].haps.allele(hap, s) == 1 ? '1' : '0';
        return text;
    }
    static bool is_imputed(std::size_t s) { return s == edge0 || s == imputed1 || s == borrowed || s == edge1; }
    imputed_alleles imputed{n_sites};
};

// --- imputed sites --------------------------------------------------------------------------------------------------

TEST_F(counts, chances_of_genotypes_grow_at_the_imputed_sites_of_the_interval) {
    store_unknown(0);
    store_unknown(1);
    for (std::size_t s = 0; s < n_sites; ++s) {
        EXPECT_DOUBLE_EQ(is_imputed(s) ? 2 * het(a(s), b(s)) : 0.0, run.acc.gtype_acc[0].get(1, s)) << s;
        EXPECT_DOUBLE_EQ(is_imputed(s) ? 2 * a(s) * b(s) : 0.0, run.acc.gtype_acc[1].get(1, s)) << s;
        for (const std::size_t other : {0U, 2U}) EXPECT_EQ(0.0, run.acc.gtype_acc[1].get(other, s));
        EXPECT_EQ(0.0, run.acc.gtype_acc2[0].get(0, s)) << "no known haplotypes";
    }
}

TEST_F(counts, the_buffer_counts_when_it_is_put_out) {
    run.params.include_buffer_in_output = true;
    store_unknown();
    EXPECT_DOUBLE_EQ(a(left) * b(left), run.acc.gtype_acc[1].get(1, left));
    EXPECT_DOUBLE_EQ(a(right) * b(right), run.acc.gtype_acc[1].get(1, right));
}

TEST_F(counts, a_haploid_individual_has_no_heterozygote) {
    store_unknown(0, false, false);
    for (std::size_t s = 0; s < n_sites; ++s) {
        EXPECT_EQ(0.0, run.acc.gtype_acc[0].get(1, s));
        EXPECT_DOUBLE_EQ(is_imputed(s) ? a(s) : 0.0, run.acc.gtype_acc[1].get(1, s));
    }
}

TEST_F(counts, alleles_are_summed_for_known_haplotypes_under_phase) {
    run.params.phase = true;
    store_known();
    for (std::size_t s = 0; s < n_sites; ++s) {
        EXPECT_DOUBLE_EQ(is_imputed(s) ? a(s) : 0.0, run.acc.gtype_acc2[0].get(0, s));
        EXPECT_DOUBLE_EQ(is_imputed(s) ? b(s) : 0.0, run.acc.gtype_acc2[1].get(0, s));
        EXPECT_EQ(0.0, run.acc.gtype_acc2[0].get(1, s));
    }
}

TEST_F(counts, one_allele_is_summed_for_a_known_haploid) {
    run.params.phase = true;
    store_known(0, false);
    for (std::size_t s = 0; s < n_sites; ++s) {
        EXPECT_DOUBLE_EQ(is_imputed(s) ? a(s) : 0.0, run.acc.gtype_acc2[0].get(0, s));
        EXPECT_EQ(0.0, run.acc.gtype_acc2[1].get(0, s));
    }
}

TEST_F(counts, alleles_are_summed_for_known_haplotypes_where_the_output_has_their_dosages) {
    run.plan.known_hap_dosages = true;
    store_known();
    for (std::size_t s = 0; s < n_sites; ++s) {
        EXPECT_DOUBLE_EQ(is_imputed(s) ? a(s) : 0.0, run.acc.gtype_acc2[0].get(0, s));
        EXPECT_DOUBLE_EQ(is_imputed(s) ? b(s) : 0.0, run.acc.gtype_acc2[1].get(0, s));
    }
}

TEST_F(counts, no_alleles_are_summed_otherwise) {
    store_known();  // without -phase
    run.params.phase = true;
    store_unknown(1);
    for (std::size_t s = 0; s < n_sites; ++s) EXPECT_EQ(0.0, run.acc.gtype_acc2[0].get(0, s));
}

// --- weights --------------------------------------------------------------------------------------------------------

class weighted_counts : public counts {
  protected:
    void SetUp() override {
        counts::SetUp();
        for (std::size_t cond = 0; cond < 2; ++cond) {
            run.acc.weight_base[cond].assign(3, 0.0);
            run.acc.weight_sum[cond].assign(3, 0.0);
        }
        run.acc.dip_like.assign(3, 0.0);
    }
    void set_likelihoods(double L00, double L01, double L10, double L11, double diploid) {
        imputed.log10_likelihood = {{{L00, L01}, {L10, L11}}};
        run.acc.dip_like[1] = diploid;
    }
};

TEST_F(weighted_counts, iterations_weigh_by_their_likelihood_relative_to_the_first) {
    const std::array<std::array<double, 2>, 4> first{{{-30.0, -7.0}, {-10.0, -3.0}, {-20.0, -4.0}, {-50.0, -50.0}}};
    const std::array<std::array<double, 2>, 4> second{{{-29.5, -8.0}, {-9.5, -2.0}, {-20.0, -6.0}, {-50.25, -50.25}}};
    for (int kind = 0; kind < 4; ++kind) {
        for (std::size_t cond = 0; cond < 2; ++cond) run.acc.weight_sum[cond].assign(3, 0.0);
        for (std::size_t g = 0; g < 2; ++g) run.acc.gtype_acc[g].allocate(3, {0, 1, 2, 3, 4, 5, 6, 7, 8}, n_sites);
        run.params.weight_imputed_gt = kind;
        set_likelihoods(-10.0, -20.0, -4.0, -3.0, -50.0);
        store_unknown(0);
        for (std::size_t cond = 0; cond < 2; ++cond) {
            EXPECT_EQ(first[static_cast<std::size_t>(kind)][cond], run.acc.weight_base[cond][1]);
            EXPECT_EQ(1.0, run.acc.weight_sum[cond][1]);
        }
        set_likelihoods(-20.0, -9.5, -6.0, -2.0, -50.25);
        store_unknown(1);
        std::array<double, 2> weight{};
        for (std::size_t cond = 0; cond < 2; ++cond) {
            weight[cond] = std::pow(
                10.0, second[static_cast<std::size_t>(kind)][cond] - first[static_cast<std::size_t>(kind)][cond]);
            EXPECT_EQ(first[static_cast<std::size_t>(kind)][cond], run.acc.weight_base[cond][1]);
            EXPECT_DOUBLE_EQ(1.0 + weight[cond], run.acc.weight_sum[cond][1]) << "kind " << kind;
            EXPECT_EQ(0.0, run.acc.weight_sum[cond][0]);
        }
        // A site weighs by the panel that it is imputed from.
        for (const auto& [s, cond] : {std::pair{edge0, 0U}, {imputed1, 1U}, {borrowed, 1U}}) {
            EXPECT_DOUBLE_EQ((1.0 + weight[cond]) * a(s) * b(s), run.acc.gtype_acc[1].get(1, s));
            EXPECT_DOUBLE_EQ((1.0 + weight[cond]) * het(a(s), b(s)), run.acc.gtype_acc[0].get(1, s));
        }
    }
}

TEST_F(weighted_counts, alleles_of_known_haplotypes_are_not_weighed) {
    run.params.weight_imputed_gt = 0;
    run.params.phase = true;
    set_likelihoods(-1.0, -1.0, -1.0, -1.0, 0.0);
    store_known(0);
    set_likelihoods(0.0, -1.0, -1.0, 0.0, 0.0);
    store_known(1);
    EXPECT_DOUBLE_EQ(2 * a(edge0), run.acc.gtype_acc2[0].get(0, edge0));
    EXPECT_DOUBLE_EQ(11.0 * a(edge0) * b(edge0), run.acc.gtype_acc[1].get(1, edge0));
}

TEST_F(weighted_counts, a_weight_of_no_kind_ends_the_run) {
    for (const int kind : {4, 17}) {
        run.params.weight_imputed_gt = kind;
        expect_end(capture, "ERROR: There was a problem with params.weight_imputed_gt in store_counts_or_haps().", 1,
                   [this] { store_unknown(0); });
    }
}

TEST_F(weighted_counts, without_weighting_nothing_is_weighed) {
    set_likelihoods(-1.0, -1.0, -1.0, -1.0, 0.0);
    store_unknown(0);
    set_likelihoods(-3.0, -1.0, -1.0, 0.0, 0.0);
    store_unknown(1);
    EXPECT_DOUBLE_EQ(2 * a(edge0) * b(edge0), run.acc.gtype_acc[1].get(1, edge0));
    EXPECT_EQ(0.0, run.acc.weight_sum[0][1]);
}

// --- study sites ----------------------------------------------------------------------------------------------------

TEST_F(counts, sampled_alleles_are_kept_at_study_sites_for_phasing) {
    input_source source(2);
    fill_study(source);
    run.params.phase = true;
    store_unknown(0);
    store_unknown(65);
    for (const std::size_t iteration : {0U, 65U}) {
        EXPECT_EQ(alleles_at(2, {typed, typed_too}), set_bits(1, 0, iteration));
        EXPECT_EQ(alleles_at(3, {typed, typed_too}), set_bits(1, 1, iteration));
    }
    EXPECT_EQ("000000000", set_bits(1, 0, 1));
    EXPECT_EQ("000000000", set_bits(0, 0, 0));
}

TEST_F(counts, bits_stand_in_the_place_among_the_unknown) {
    run.params.phase = true;
    run.panels[2].haps.set(2, typed, 1);
    store({1, 2, true, false, 0}, 3);
    EXPECT_EQ("000100000", set_bits(0, 0, 3));
    EXPECT_EQ("000000000", set_bits(1, 0, 3));
}

TEST_F(counts, a_haploid_has_one_row_of_bits) {
    run.params.phase = true;
    for (std::size_t h = 0; h < 6; ++h) run.panels[2].haps.set(h, typed, 1);
    store_unknown(0, false, false);
    EXPECT_EQ("000100000", set_bits(1, 0, 0));
    EXPECT_EQ("000000000", set_bits(1, 1, 0));
}

TEST_F(counts, no_bits_are_kept_without_phasing_for_known_ones_or_beside_temporary_files) {
    for (std::size_t h = 0; h < 6; ++h) run.panels[2].haps.set(h, typed, 1);
    store_unknown();
    run.params.phase = true;
    store_known();
    run.plan.tmp_haps = true;
    store_unknown();
    for (std::size_t slot = 0; slot < 3; ++slot) EXPECT_EQ("000000000", set_bits(slot, 0, 0));
}

TEST_F(counts, self_check_sums_grow_at_sites_of_type_2) {
    store_unknown(0, true);
    store_unknown(1, false);
    for (std::size_t s = 0; s < n_sites; ++s) {
        for (std::size_t cond = 0; cond < 2; ++cond) {
            const double p = imputed.chance_unseen[cond][0][s], q = imputed.chance_unseen[cond][1][s];
            const bool typed_site = s == typed || s == typed_too;
            EXPECT_DOUBLE_EQ(typed_site ? het(p, q) : 0.0, run.acc.gtype_acc3[cond][0].get(1, s));
            EXPECT_DOUBLE_EQ(typed_site ? p * q : 0.0, run.acc.gtype_acc3[cond][1].get(1, s));
            EXPECT_EQ(0.0, run.acc.gtype_acc3[cond][1].get(0, s));
        }
        if (s == typed || s == typed_too) {
            EXPECT_EQ(0.0, run.acc.gtype_acc[0].get(1, s));
        }
    }
}

TEST_F(counts, self_check_sums_of_a_haploid_have_no_heterozygote) {
    store_unknown(0, true, false);
    for (std::size_t cond = 0; cond < 2; ++cond) {
        EXPECT_EQ(0.0, run.acc.gtype_acc3[cond][0].get(1, typed));
        EXPECT_DOUBLE_EQ(imputed.chance_unseen[cond][0][typed], run.acc.gtype_acc3[cond][1].get(1, typed));
    }
}

TEST_F(counts, self_check_sums_are_those_of_the_panels_in_use) {
    for (int weight_panel = -1; weight_panel < 2; ++weight_panel) {
        for (const bool type0 : {false, true}) {
            for (const bool type1 : {false, true}) {
                for (auto& cond : run.acc.gtype_acc3) cond[1].allocate(3, {0, 1, 2, 3, 4, 5, 6, 7, 8}, n_sites);
                run.params.weight_panel = weight_panel;
                run.plan.output_types = {type0, type1, true, true};
                store_unknown(0, true);
                EXPECT_EQ(type0 || weight_panel == 0, run.acc.gtype_acc3[0][1].get(1, typed) > 0.0);
                EXPECT_EQ(type1 || weight_panel == 1, run.acc.gtype_acc3[1][1].get(1, typed) > 0.0);
            }
        }
    }
}

// --- sampled genotypes in place of chances --------------------------------------------------------------------------

class sampled_counts : public counts {
  protected:
    void SetUp() override {
        counts::SetUp();
        run.params.mc_impute = true;
        run.acc.last_sampled_gtype.assign(n_sites, 0);
        run.acc.tallies.resize(n_sites);
        for (sample_tally& tally : run.acc.tallies)
            tally.miss_counts = {std::vector<int>(3, 0), std::vector<int>(3, 0)};
    }
    using row = std::vector<int>;
};

TEST_F(sampled_counts, are_tallied_by_individual_at_imputed_sites) {
    run.acc.last_sampled_gtype = {1, 1, 2, 1, 2, 0, 2, 2, 1};
    store_unknown(0);
    EXPECT_EQ((row{0, 1, 0}), run.acc.tallies[edge0].miss_counts[0]);
    EXPECT_EQ((row{0, 0, 0}), run.acc.tallies[edge0].miss_counts[1]);
    EXPECT_EQ((row{0, 1, 0}), run.acc.tallies[imputed1].miss_counts[1]);
    EXPECT_EQ((row{0, 0, 0}), run.acc.tallies[borrowed].miss_counts[0]) << "a sampled genotype 0 counts nothing";
    EXPECT_EQ((row{0, 1, 0}), run.acc.tallies[edge1].miss_counts[1]);
    for (const std::size_t s : {left, typed, apart, typed_too, right}) {
        EXPECT_EQ((row{0, 0, 0}), run.acc.tallies[s].miss_counts[0]) << s;
        EXPECT_EQ((row{0, 0, 0}), run.acc.tallies[s].miss_counts[1]) << s;
    }
    for (const std::size_t s : {edge0, imputed1, borrowed, edge1}) EXPECT_EQ(0, run.acc.last_sampled_gtype[s]);
    store_unknown(1);
    EXPECT_EQ((row{0, 1, 0}), run.acc.tallies[edge0].miss_counts[0]) << "counted once";
    for (std::size_t s = 0; s < n_sites; ++s) EXPECT_EQ(0.0, run.acc.gtype_acc[1].get(1, s)) << "no chances are summed";
}

TEST_F(sampled_counts, of_a_haploid_are_those_of_the_homozygote) {
    run.acc.last_sampled_gtype.assign(n_sites, 1);
    store_unknown(0, false, false);
    EXPECT_EQ((row{0, 0, 0}), run.acc.tallies[edge0].miss_counts[0]);
    EXPECT_EQ((row{0, 1, 0}), run.acc.tallies[edge0].miss_counts[1]);
}

TEST_F(sampled_counts, come_with_bits_at_every_site_under_phase) {
    input_source source(3);
    fill_study(source);
    run.params.phase = true;
    store_unknown(5);
    const std::vector<std::size_t> all{edge0, imputed1, typed, borrowed, typed_too, edge1};
    EXPECT_EQ(alleles_at(2, all), set_bits(1, 0, 5));
    EXPECT_EQ(alleles_at(3, all), set_bits(1, 1, 5));
}

TEST_F(sampled_counts, keep_bits_under_the_index_of_the_individual) {
    run.params.phase = true;
    run.panels[2].haps.set(2, typed, 1);
    run.panels[2].haps.set(2, edge0, 1);
    store({1, 2, true, false, 0});
    EXPECT_EQ("010100000", set_bits(1, 0, 0));
    EXPECT_EQ("000000000", set_bits(0, 0, 0));
}

TEST_F(sampled_counts, keep_the_bits_of_known_haplotypes_at_study_sites_even_without_phase) {
    run.panels[2].haps.set(2, typed, 1);
    run.panels[2].haps.set(2, edge0, 1);
    store_known(0);
    EXPECT_EQ("000100000", set_bits(1, 0, 0));
}

TEST_F(sampled_counts, keep_no_bits_beside_temporary_files) {
    run.params.phase = true;
    run.plan.tmp_haps = true;
    run.panels[2].haps.set(2, edge0, 1);
    run.panels[2].haps.set(2, typed, 1);
    store_unknown(0);
    EXPECT_EQ("000000000", set_bits(1, 0, 0));
}

TEST_F(sampled_counts, have_no_self_check) {
    store_unknown(0, true);
    EXPECT_EQ(0.0, run.acc.gtype_acc3[0][1].get(1, typed));
}

// --- sporadic missing alleles of Panel 0 ----------------------------------------------------------------------------

class sporadic_counts : public sampled_counts {
  protected:
    void SetUp() override {
        sampled_counts::SetUp();
        run.plan.sporadic_haploid_imputation = true;
        run.panels[0].missing = packed_haplotypes(4, n_sites);
        for (const std::size_t s : {left, edge0, typed, apart}) {
            run.panels[0].missing.set(1, s, 1);
            run.panels[0].missing.set(3, s, 1);
            run.acc.tallies[s].miss_counts = {row(2, 0), row(2, 0)};
        }
    }
    void store(std::size_t hap) { record_sporadic_alleles(run.log, run.inputs(), hap, run.acc); }
};

TEST_F(sporadic_counts, walk_the_missing_entries_of_a_site) {
    for (int iteration = 0; iteration < 2; ++iteration) {
        run.acc.last_sampled_gtype[edge0] = 2;  // an allele 1, doubled
        store(1);
        EXPECT_EQ(0, run.acc.last_sampled_gtype[edge0]);
        EXPECT_EQ(1U, run.acc.tallies[edge0].miss_idx);
        store(3);
        EXPECT_EQ(0U, run.acc.tallies[edge0].miss_idx) << "back to the first entry";
    }
    EXPECT_EQ((row{2, 0}), run.acc.tallies[edge0].miss_counts[1]);
    EXPECT_EQ((row{0, 0}), run.acc.tallies[edge0].miss_counts[0]);
    EXPECT_EQ(0U, run.acc.tallies[typed].miss_idx);
    run.acc.last_sampled_gtype[typed] = 1;
    store(1);
    EXPECT_EQ((row{1, 0}), run.acc.tallies[typed].miss_counts[0]);
    EXPECT_EQ(1U, run.acc.tallies[typed].miss_idx);
}

TEST_F(sporadic_counts, pass_over_what_is_not_missing_and_not_in_the_interval) {
    run.acc.last_sampled_gtype.assign(n_sites, 2);
    store(0);
    for (std::size_t s = 0; s < n_sites; ++s) EXPECT_EQ(0U, run.acc.tallies[s].miss_idx);
    store(1);
    for (const std::size_t s : {left, apart, imputed1}) {
        EXPECT_EQ(0U, run.acc.tallies[s].miss_idx) << s;
        EXPECT_EQ(2, run.acc.last_sampled_gtype[s]);
    }
}

TEST_F(sporadic_counts, count_nothing_when_chances_are_summed) {
    run.params.mc_impute = false;
    run.acc.last_sampled_gtype[edge0] = 2;
    store(1);
    EXPECT_EQ(0U, run.acc.tallies[edge0].miss_idx);
    EXPECT_EQ((row{0, 0}), run.acc.tallies[edge0].miss_counts[1]);
}

TEST_F(sporadic_counts, of_another_kind_of_run_end_it) {
    run.plan.sporadic_haploid_imputation = false;
    expect_end(capture,
               "ERROR: The update_panel should not be zero unless you are performing sporadic haploid imputation.", 1,
               [this] { store(1); });
}

// --- individuals that need no update --------------------------------------------------------------------------------

TEST_F(counts, of_nobody_who_is_updated_are_what_is_known) {
    input_source source(4);
    for (int repeat = 0; repeat < 20; ++repeat) {
        for (std::size_t g = 0; g < 2; ++g) {
            run.acc.gtype_acc[g].allocate(3, {0, 1, 2, 3, 4, 5, 6, 7, 8}, n_sites);
            run.acc.gtype_acc2[g].allocate(2, {0, 1, 2, 3, 4, 5, 6, 7, 8}, n_sites);
        }
        fill_study(source);
        parameters& p = run.params;
        p.pgs = source.chance(0.5);
        p.phase = source.chance(0.5);
        p.print_allele_probs = source.chance(0.5);
        const bool known = run.panels[2].ordered[1] = source.chance(0.5), diploid = source.chance(0.7);
        const std::size_t hap = diploid ? 2 : 1;
        // A missing genotype is not known, whatever alleles stand in for it.
        std::vector<bool> missing;
        for (snp* site : run.sites.in_order) {
            missing.push_back(source.chance(0.3));
            const auto g = static_cast<std::uint8_t>(run.panels[2].haps.allele(hap, site->index));
            site->gtypes[2] = {0, missing.back() ? missing_genotype : g, 0};
        }
        record_known_individual(run.inputs(), {1, hap, diploid, known, 1}, run.acc);
        for (std::size_t s = 0; s < n_sites; ++s) {
            const bool recorded = (s == typed || s == typed_too) && !missing[s];
            const int x = run.panels[2].haps.allele(hap, s);
            const int y = diploid ? run.panels[2].haps.allele(hap + 1, s) : x;
            EXPECT_EQ(recorded && p.pgs && x + y == 1 ? 1.0 : 0.0, run.acc.gtype_acc[0].get(1, s)) << s;
            EXPECT_EQ(recorded && p.pgs && x + y == 2 ? 1.0 : 0.0, run.acc.gtype_acc[1].get(1, s)) << s;
            const bool alleles = recorded && known && (p.phase || p.print_allele_probs);
            EXPECT_EQ(alleles ? x : 0.0, run.acc.gtype_acc2[0].get(1, s)) << s;
            EXPECT_EQ(alleles ? y : 0.0, run.acc.gtype_acc2[1].get(1, s)) << s;
        }
    }
}

TEST_F(counts, of_a_site_without_genotypes_are_its_alleles) {
    run.params.pgs = true;
    run.panels[2].haps.set(2, typed, 1);
    record_known_individual(run.inputs(), {1, 2, true, false, 0}, run.acc);
    EXPECT_EQ(1.0, run.acc.gtype_acc[0].get(1, typed));
}

// --- draws of missing genotypes -------------------------------------------------------------------------------------

// Sampled missing genotypes of the study, tallied by missing entry.
TEST_F(counts, sum_what_paths_tell_of_the_phase) {
    run.models.chains[1][2][2].site = {typed, typed_too};
    run.acc.phase.resize(3);
    pair_update u;
    u.ind = 1;
    u.hap = 2;
    u.panel = 2;
    u.stored = u.sums_phase = true;
    pair_result result;
    result.requests = {{true, true, false}, {true, true, false}};
    result.walk.alleles = {{{0, 1}, {1, 0}}};
    result.walk.order_kept = {0.5, 1.0};
    result.walk.first_is_one = {-1.0, 0.75};
    for (int i = 0; i < 2; ++i) record_pair(run.inputs(), u, result, run.panels[2], run.acc);
    EXPECT_EQ((std::vector<std::size_t>{typed, typed_too}), run.acc.phase[1].site);
    EXPECT_EQ((std::vector<double>{0.0, -0.75}), run.acc.phase[1].with_previous);
    EXPECT_EQ(2U, run.acc.phase[1].n_paths);
    EXPECT_TRUE(run.acc.phase[0].site.empty());
    u.sums_phase = false;
    record_pair(run.inputs(), u, result, run.panels[2], run.acc);
    EXPECT_EQ(2U, run.acc.phase[1].n_paths);
}

class missing_tallies : public sampled_counts {
  protected:
    void SetUp() override {
        sampled_counts::SetUp();
        run.plan.count_missing_only = true;
        run.sites.in_order[typed]->gtypes[2] = {3, 0, 3};
        for (auto& counts_of : run.acc.tallies[typed].miss_counts) counts_of.assign(2, 0);
        run.models.chains[0][2][2].site = run.models.chains[1][2][2].site = {typed};
    }
    // A haploid individual draws allele 1.
    void draw_haploid(std::size_t ind) {
        haploid_update u;
        u.ind = u.hap = ind;
        u.panel = u.cond_panel = 2;
        u.sample = u.stored = true;
        haploid_result result;
        result.end_kept = 1;
        result.requests = {{true, false}};
        result.walk.allele = {1};
        record_haploid(run.inputs(), u, result, run.panels[2], run.acc);
    }
    void draw_pair(std::size_t ind, std::array<std::uint8_t, 2> alleles) {
        pair_update u;
        u.ind = ind;
        u.hap = 2 * ind;
        u.panel = 2;
        u.stored = true;
        pair_result result;
        result.requests = {{true, false, false}};
        result.walk.alleles = {alleles};
        record_pair(run.inputs(), u, result, run.panels[2], run.acc);
    }
};

TEST_F(missing_tallies, of_haploid_individuals_stand_in_their_own_entries) {
    draw_haploid(2);
    EXPECT_EQ((row{0, 1}), run.acc.tallies[typed].miss_counts[1]);
    draw_haploid(0);
    draw_haploid(2);
    EXPECT_EQ((row{1, 2}), run.acc.tallies[typed].miss_counts[1]);
    EXPECT_EQ((row{0, 0}), run.acc.tallies[typed].miss_counts[0]);
    EXPECT_EQ(0U, run.acc.tallies[typed].miss_idx);
    EXPECT_EQ(1, run.panels[2].haps.allele(2, typed));
}

TEST_F(missing_tallies, of_pairs_walk_the_row_on_alleles_1_only) {
    draw_pair(0, {0, 0});
    EXPECT_EQ(0U, run.acc.tallies[typed].miss_idx);
    draw_pair(2, {1, 0});
    EXPECT_EQ((row{1, 0}), run.acc.tallies[typed].miss_counts[0]);
    draw_pair(2, {1, 1});
    EXPECT_EQ((row{0, 1}), run.acc.tallies[typed].miss_counts[1]);
    EXPECT_EQ(0U, run.acc.tallies[typed].miss_idx) << "back to the first entry";
    EXPECT_EQ(1, run.panels[2].haps.allele(5, typed));
}

}  // namespace
