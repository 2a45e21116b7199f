#include "params/population.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "inference/model_run.h"
#include "support/run_builder.h"

namespace {

constexpr double nothing = std::numeric_limits<double>::infinity();

TEST(theta, is_the_inverse_of_the_harmonic_sum) {
    EXPECT_EQ(-1.0, harmonic_theta(-3));
    EXPECT_EQ(-1.0, harmonic_theta(0));
    EXPECT_EQ(-1.0, harmonic_theta(1));
    EXPECT_EQ(1.0, harmonic_theta(2));
    EXPECT_EQ(1.0 / 1.5, harmonic_theta(3));
    EXPECT_EQ(1.0 / (1.0 + 1.0 / 2 + 1.0 / 3 + 1.0 / 4), harmonic_theta(5));
    EXPECT_NEAR(1.0 / (std::log(999999.0) + 0.57721566490153286 + 0.5e-6), harmonic_theta(1000000), 1e-12);
}

TEST(mutation_rate, is_half_of_theta_over_n_plus_theta) {
    EXPECT_EQ(0.5 / 3.0, mutation_rate(2, 1.0));
    EXPECT_EQ((0.25 * 0.5) / (10 + 0.25), mutation_rate(10, 0.25));
    EXPECT_EQ(0.0, mutation_rate(10, 0.0));
}

TEST(pair_mutation, fills_the_tables_of_one_panel) {
    copying_models models;
    set_pair_mutation(2, 0.1, models);
    const emission_table& e = models.mutation[1][2][2];
    EXPECT_DOUBLE_EQ(0.81, e[0][0]);
    EXPECT_DOUBLE_EQ(0.18, e[0][1]);
    EXPECT_DOUBLE_EQ(0.82, e[1][1]);
    EXPECT_DOUBLE_EQ(0.81, e[2][2]);
    EXPECT_EQ(e[0][1] * 0.5, models.pr_alleles_01[2][0][0]);
    EXPECT_EQ(e[1][0], models.pr_alleles_00[2][0][1]);
    EXPECT_EQ(0.0, models.mutation[1][1][1][0][0]) << "another panel";
}

TEST(mutation_rate, of_no_state_and_of_one_is_no_rate) {
    EXPECT_EQ(-1.0, mutation_rate(0, -1.0));
    EXPECT_EQ(-1.0, mutation_rate(-2, 1.0));
    EXPECT_EQ(-nothing, mutation_rate(1, -1.0));
}

class population : public ::testing::Test, protected model_run {
  protected:
    void SetUp() override { capture.open(run.log); }
    // The same count for every model.
    void set_counts(model_table<int>& table, int n) {
        for (auto& mode : table) {
            for (auto& panel : mode) panel = {n, n, n};
        }
    }
    // "mode panel cond_panel" of the entries that differ from a value.
    template <typename T, typename Differs>
    std::vector<std::string> entries(model_table<T>& table, Differs differs) {
        std::vector<std::string> found;
        for (int mode = 0; mode < 2; ++mode) {
            for (int panel = 0; panel < 3; ++panel) {
                for (int cond = 0; cond < 3; ++cond) {
                    if (differs(at(table, mode, panel, cond))) {
                        found.push_back(std::to_string(mode) + std::to_string(panel) + std::to_string(cond));
                    }
                }
            }
        }
        return found;
    }
    std::vector<std::string> thetas_set() {
        return entries(run.models.theta, [](double theta) { return theta != 0.0; });
    }
    static void expect_haploid(const emission_table& M, double mu) {
        EXPECT_EQ((std::array<double, 4>{1.0 - mu, mu, 1.0, 0.0}), M[0]);
        EXPECT_EQ((std::array<double, 4>{mu, 1.0 - mu, 1.0, 0.0}), M[1]);
    }
    static void expect_diploid(const emission_table& M, double mu) {
        const double a = 1.0 - mu;
        EXPECT_EQ((std::array<double, 4>{a * a, (a + a) * mu, mu * mu, 1.0}), M[0]);
        EXPECT_EQ((std::array<double, 4>{a * mu, mu * mu + a * a, a * mu, 1.0}), M[1]);
        EXPECT_EQ((std::array<double, 4>{mu * mu, (a + a) * mu, a * a, 1.0}), M[2]);
    }
};

// --- theta ----------------------------------------------------------------------------------------------------------

TEST_F(population, theta_is_computed_for_the_models_of_a_plain_run) {
    set_counts(run.models.k_states, 2);
    set_theta(run.params, run.plan, run.panels, false, run.models);
    EXPECT_EQ((std::vector<std::string>{"000", "020", "021", "111", "122"}), thetas_set());
    EXPECT_EQ("", capture.terminal.str());
}

TEST_F(population, theta_of_panel_1_from_panel_0_is_for_runs_that_impute_through_it) {
    set_counts(run.models.k_states, 2);
    run.params.use_panel1_for_type0_imputation = true;
    set_theta(run.params, run.plan, run.panels, false, run.models);
    EXPECT_EQ((std::vector<std::string>{"000", "010", "020", "021", "111", "122"}), thetas_set());
    run.models.theta = {};
    run.params.stage_one = true;
    set_theta(run.params, run.plan, run.panels, false, run.models);
    EXPECT_EQ((std::vector<std::string>{"000", "020", "021", "111", "122"}), thetas_set());
}

TEST_F(population, theta_of_the_filling_models_is_for_runs_that_fill_holes) {
    set_counts(run.models.k_states, 2);
    run.plan.fill_holes = true;
    set_theta(run.params, run.plan, run.panels, false, run.models);
    EXPECT_EQ((std::vector<std::string>{"000", "001", "002", "012", "020", "021", "111", "122"}), thetas_set());
}

TEST_F(population, theta_of_the_haploid_study_model_is_for_known_haplotypes_and_haploid_studies) {
    set_counts(run.models.k_states, 2);
    const std::vector<std::string> with{"000", "020", "021", "022", "111", "122"};
    run.params.known_haps_g_file = "known";
    set_theta(run.params, run.plan, run.panels, false, run.models);
    EXPECT_EQ(with, thetas_set());
    run.models.theta = {};
    run.params.known_haps_g_file = "NULL";
    run.params.haploid_g = run.panels[2].all_haploid = true;
    set_theta(run.params, run.plan, run.panels, false, run.models);
    EXPECT_EQ(with, thetas_set());
    run.models.theta = {};
    run.params.haploid_g = run.panels[2].all_haploid = false;
    run.plan.chrx_haploid = run.panels[1].sexes_differ = run.panels[2].sexes_differ = true;
    set_theta(run.params, run.plan, run.panels, false, run.models);
    EXPECT_EQ((std::vector<std::string>{"000", "020", "021", "111", "122"}), thetas_set()) << "no male";
    run.panels[2].n_males = 1;
    set_theta(run.params, run.plan, run.panels, false, run.models);
    EXPECT_EQ(with, thetas_set());
}

TEST_F(population, males_of_a_panel_1_of_genotypes_have_a_haploid_model) {
    set_counts(run.models.k_states, 2);
    run.plan.chrx_haploid = run.panels[1].sexes_differ = run.panels[2].sexes_differ = true;
    run.params.g_ref_file = "ref";
    run.panels[1].n_males = 1;
    set_theta(run.params, run.plan, run.panels, false, run.models);
    EXPECT_EQ((std::vector<std::string>{"000", "011", "020", "021", "111", "122"}), thetas_set());
    set_mutation(run.log, run.params, run.plan, run.panels, false, run.models, run.sites);
    expect_haploid(at(run.models.mutation, 0, 1, 1), 0.5 / 3.0);
}

TEST_F(population, theta_reads_the_limited_or_the_full_counts) {
    set_counts(run.models.k_states, 3);
    set_counts(run.models.k_states_full, 7);
    at(run.models.k_states_full, 1, 2, 2) = 11;
    set_theta(run.params, run.plan, run.panels, false, run.models);
    EXPECT_EQ(harmonic_theta(3), at(run.models.theta, 0, 2, 0));
    set_theta(run.params, run.plan, run.panels, true, run.models);
    EXPECT_EQ(harmonic_theta(7), at(run.models.theta, 0, 2, 0));
    EXPECT_EQ(harmonic_theta(11), at(run.models.theta, 1, 2, 2));
}

TEST_F(population, theta_of_a_model_without_two_states_is_minus_one) {
    at(run.models.k_states, 0, 2, 0) = 1;
    set_theta(run.params, run.plan, run.panels, false, run.models);
    EXPECT_EQ(-1.0, at(run.models.theta, 0, 2, 0));
    EXPECT_EQ(-1.0, at(run.models.theta, 0, 0, 0));
}

// --- emission tables ------------------------------------------------------------------------------------------------

TEST_F(population, the_stage_is_said_on_both_channels) {
    set_mutation(run.log, run.params, run.plan, run.panels, false, run.models, run.sites);
    EXPECT_EQ("\n-setting mutation matrices\n", capture.terminal.str());
    EXPECT_EQ("\n-setting mutation matrices\n", capture.summary());
}

TEST_F(population, emission_tables_follow_their_rates) {
    int n = 2;
    for (auto& mode : run.models.k_states) {
        for (auto& panel : mode) {
            for (int& count : panel) count = n++;
        }
    }
    run.plan.fill_holes = run.params.use_panel1_for_type0_imputation = true;
    run.params.haploid_g = run.panels[2].all_haploid = true;
    set_theta(run.params, run.plan, run.panels, false, run.models);
    set_mutation(run.log, run.params, run.plan, run.panels, false, run.models, run.sites);
    for (const auto& [panel, cond] : {std::pair{0, 0}, {1, 0}, {0, 1}, {0, 2}, {1, 2}, {2, 0}, {2, 1}, {2, 2}}) {
        const int count = at(run.models.k_states, 0, panel, cond);
        expect_haploid(at(run.models.mutation, 0, panel, cond), mutation_rate(count, harmonic_theta(count)));
    }
    for (const int panel : {1, 2}) {
        const int count = at(run.models.k_states, 1, panel, panel);
        expect_diploid(at(run.models.mutation, 1, panel, panel), mutation_rate(count, harmonic_theta(count)));
    }
}

TEST_F(population, models_without_a_rate_keep_their_zeros) {
    for (const int n : {0, 1}) {
        set_counts(run.models.k_states, n);
        at(run.models.k_states, 0, 1, 1) = 0;  // no such model in this run
        set_theta(run.params, run.plan, run.panels, false, run.models);
        set_mutation(run.log, run.params, run.plan, run.panels, false, run.models, run.sites);
        const auto filled = entries(run.models.mutation, [](const emission_table& M) { return M != emission_table{}; });
        // A count of 1 without a theta has a rate of zero; a count of 0 has no rate at all.
        if (n == 0) {
            EXPECT_TRUE(filled.empty());
        } else {
            EXPECT_EQ((std::vector<std::string>{"001", "002", "010", "012", "022"}), filled);
        }
        run.models.mutation = {};
    }
}

TEST_F(population, a_model_whose_theta_is_not_computed_has_no_error) {
    set_counts(run.models.k_states, 20);
    set_theta(run.params, run.plan, run.panels, false, run.models);
    set_mutation(run.log, run.params, run.plan, run.panels, false, run.models, run.sites);
    expect_haploid(at(run.models.mutation, 0, 1, 2), 0.0);
    expect_haploid(at(run.models.mutation, 0, 2, 2), 0.0);
}

TEST_F(population, two_states_have_a_rate_of_a_sixth) {
    set_counts(run.models.k_states, 2);
    set_theta(run.params, run.plan, run.panels, false, run.models);
    set_mutation(run.log, run.params, run.plan, run.panels, false, run.models, run.sites);
    expect_haploid(at(run.models.mutation, 0, 2, 0), 0.5 / 3);
    expect_diploid(at(run.models.mutation, 1, 2, 2), 0.5 / 3);
}

TEST_F(population, unused_places_of_the_tables_stay_empty) {
    set_counts(run.models.k_states, 9);
    run.plan.fill_holes = true;
    set_theta(run.params, run.plan, run.panels, false, run.models);
    set_mutation(run.log, run.params, run.plan, run.panels, false, run.models, run.sites);
    for (const auto& [panel, cond] : {std::pair{0, 0}, {0, 1}, {0, 2}, {1, 0}, {1, 2}, {2, 0}, {2, 1}}) {
        EXPECT_EQ((emission_table{}), at(run.models.mutation, 1, panel, cond));
    }
    EXPECT_EQ((std::array<double, 4>{}), at(run.models.mutation, 0, 2, 0)[2]);
}

TEST_F(population, the_second_computation_overwrites_the_first) {
    set_counts(run.models.k_states, 2);
    set_counts(run.models.k_states_full, 50);
    set_theta(run.params, run.plan, run.panels, false, run.models);
    set_mutation(run.log, run.params, run.plan, run.panels, false, run.models, run.sites);
    set_theta(run.params, run.plan, run.panels, true, run.models);
    set_mutation(run.log, run.params, run.plan, run.panels, true, run.models, run.sites);
    const double mu = mutation_rate(50, harmonic_theta(50));
    expect_haploid(at(run.models.mutation, 0, 2, 1), mu);
    expect_diploid(at(run.models.mutation, 1, 1, 1), mu);
}

// --- phased emission tables -----------------------------------------------------------------------------------------

TEST_F(population, ordered_alleles_have_their_chances_by_the_copied_ones) {
    set_counts(run.models.k_states, 3);
    at(run.models.k_states, 1, 2, 2) = 8;
    set_theta(run.params, run.plan, run.panels, false, run.models);
    set_mutation(run.log, run.params, run.plan, run.panels, false, run.models, run.sites);
    for (const std::size_t panel : {1U, 2U}) {
        const emission_table& E = run.models.mutation[1][panel][panel];
        using table = std::array<std::array<double, 2>, 2>;
        EXPECT_EQ((table{{{E[0][0], E[1][0]}, {E[1][0], E[2][0]}}}), run.models.pr_alleles_00[panel]);
        EXPECT_EQ((table{{{E[0][1] * 0.5, E[0][0]}, {E[0][2], E[2][1] * 0.5}}}), run.models.pr_alleles_01[panel]);
        EXPECT_EQ((table{{{E[0][1] * 0.5, E[0][2]}, {E[0][0], E[2][1] * 0.5}}}), run.models.pr_alleles_10[panel]);
        EXPECT_EQ((table{{{E[0][2], E[1][2]}, {E[1][2], E[2][2]}}}), run.models.pr_alleles_11[panel]);
        // Each order needs no, one or two errors: the four chances of a copied pair sum to 1.
        for (std::size_t x = 0; x < 2; ++x) {
            for (std::size_t y = 0; y < 2; ++y) {
                EXPECT_NEAR(1.0,
                            run.models.pr_alleles_00[panel][x][y] + run.models.pr_alleles_01[panel][x][y] +
                                run.models.pr_alleles_10[panel][x][y] + run.models.pr_alleles_11[panel][x][y],
                            1e-15);
            }
        }
    }
}

// --- genotypes known by their probabilities -------------------------------------------------------------------------

class probabilistic_genotypes : public population {
  protected:
    void SetUp() override {
        population::SetUp();
        run.plan.n_panels = 3;
        set_individuals(run.panels, {0, 1, 2});
        run.plan.n_study = 2;
        for (const auto& [position, type] : {std::pair{10L, 0}, {20L, 1}, {30L, 2}, {40L, 3}}) {
            snp& site = add_site(position, type);
            site.gtype_probs[1] = {0.2F, 0.3F, 0.5F};
            site.gtype_probs[2] = {0.1F, 0.7F, 0.2F, 0.0F, 0.0F, 0.0F};
        }
        list_sites();
        set_counts(run.models.k_states, 6);
        at(run.models.k_states, 1, 1, 1) = 9;
        set_theta(run.params, run.plan, run.panels, false, run.models);
    }
    // Weights by allele sum.
    static std::vector<double> weights(const std::vector<float>& p, const emission_table& E) {
        std::vector<double> w;
        for (std::size_t i = 0; i < p.size(); i += 3) {
            for (std::size_t row = 0; row < 3; ++row) {
                double sum = 0.0;
                for (std::size_t g = 0; g < 3; ++g) sum += static_cast<double>(p[i + g]) * E[row][g];
                const bool known = static_cast<double>(p[i] + p[i + 1] + p[i + 2]) >= 1e-10;
                w.push_back(known ? sum : 1.0);
            }
        }
        return w;
    }
    const std::vector<double>& emission(int site, std::size_t panel) {
        return run.sites.in_order[static_cast<std::size_t>(site)]->gtype_emiss[panel];
    }
};

TEST_F(probabilistic_genotypes, are_weighed_at_the_sites_of_the_study) {
    run.params.prob_g = true;
    set_mutation(run.log, run.params, run.plan, run.panels, false, run.models, run.sites);
    EXPECT_EQ(weights(run.sites.in_order[2]->gtype_probs[2], at(run.models.mutation, 1, 2, 2)), emission(2, 2));
    for (const int other : {0, 1, 3}) EXPECT_TRUE(emission(other, 2).empty());
    for (int s = 0; s < 4; ++s) EXPECT_TRUE(emission(s, 1).empty());
}

TEST_F(probabilistic_genotypes, are_weighed_at_the_sites_of_panel_1) {
    run.params.prob_g_ref = true;
    run.sites.in_order[2]->panel1_placeholder = true;
    set_mutation(run.log, run.params, run.plan, run.panels, false, run.models, run.sites);
    EXPECT_EQ(weights(run.sites.in_order[1]->gtype_probs[1], at(run.models.mutation, 1, 1, 1)), emission(1, 1));
    for (const int other : {0, 2, 3}) EXPECT_TRUE(emission(other, 1).empty());
    run.sites.in_order[2]->panel1_placeholder = false;
    set_mutation(run.log, run.params, run.plan, run.panels, false, run.models, run.sites);
    EXPECT_EQ(weights(run.sites.in_order[2]->gtype_probs[1], at(run.models.mutation, 1, 1, 1)), emission(2, 1));
}

TEST_F(probabilistic_genotypes, without_a_reference_stand_at_type_3) {
    run.params.prob_g = true;
    run.plan.n_panels = 4;
    set_mutation(run.log, run.params, run.plan, run.panels, false, run.models, run.sites);
    EXPECT_TRUE(emission(2, 2).empty());
    EXPECT_EQ(6U, emission(3, 2).size());
}

TEST_F(probabilistic_genotypes, say_nothing_when_their_sum_is_tiny) {
    run.params.prob_g = true;
    snp& site = *run.sites.in_order[2];
    site.gtype_probs[2] = {3e-11F, 3e-11F, 3e-11F, 4e-11F, 4e-11F, 4e-11F};
    set_mutation(run.log, run.params, run.plan, run.panels, false, run.models, run.sites);
    for (std::size_t row = 0; row < 3; ++row) {
        EXPECT_EQ(1.0, emission(2, 2)[row]);
        EXPECT_LT(emission(2, 2)[3 + row], 1e-9);
    }
}

TEST_F(probabilistic_genotypes, are_weighed_anew_by_the_second_computation) {
    run.params.prob_g = true;
    set_counts(run.models.k_states_full, 60);
    set_mutation(run.log, run.params, run.plan, run.panels, false, run.models, run.sites);
    set_theta(run.params, run.plan, run.panels, true, run.models);
    set_mutation(run.log, run.params, run.plan, run.panels, true, run.models, run.sites);
    EXPECT_EQ(weights(run.sites.in_order[2]->gtype_probs[2], at(run.models.mutation, 1, 2, 2)), emission(2, 2));
}

}  // namespace
