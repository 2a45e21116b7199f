#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <vector>

#include "inference/slow_diploid.h"
#include "inference/slow_ordered.h"
#include "inference/update/recording.h"
#include "inference/update/update_fixture.h"
#include "params/switch_rates.h"

namespace {

class pair_updates : public update_fixture {
  protected:
    bool gp(std::size_t panel) const { return panel == 2 ? run.params.prob_g : run.params.prob_g_ref; }
    bool phase_known(std::size_t s) const {
        const auto& flags = run.sites.in_order[s]->known_phase_flags;
        return !flags.empty() && flags[ind];
    }
    int genotype(std::size_t panel, std::size_t s) const { return run.sites.in_order[s]->gtypes[panel][ind]; }

    template <typename Model>
    void make_model(Model& plain, std::size_t panel, std::size_t K, bool ordered) {
        const int gap_states = static_cast<int>(K) + 5;
        hmm_model& model = at(run.models.chains, 1, panel, panel);
        model = {};
        std::vector<double> distances;
        const bool full = !(run.plan.fill_holes && panel == run.plan.hole_fill_to);
        for (const snp* site : run.sites.in_order) {
            if (site->type < panel || site->type == 3 || (!full && site->ref_alleles_missing)) continue;
            if (panel == 1 && site->panel1_placeholder) continue;
            model.site.push_back(site->index);
            distances.push_back(random_distance(source));
            model.dip_gap.push_back(make_diploid_gap(distances.back(), gap_states));
        }
        model.interval = 3;
        const double mu = 0.03, a = 1.0 - mu;
        emission_table& M = at(run.models.mutation, 1, panel, panel);
        M = {{{a * a, 2 * a * mu, mu * mu, 1.0},
              {a * mu, mu * mu + a * a, a * mu, 1.0},
              {mu * mu, 2 * a * mu, a * a, 1.0}}};
        const double nu = 0.01;
        emission_table& Mh = at(run.models.mutation, 0, panel, panel);
        Mh = {{{1.0 - nu, nu, 1.0, 0.0}, {nu, 1.0 - nu, 1.0, 0.0}, {}}};
        plain = {};
        plain.K = static_cast<int>(K);
        plain.pr_00 = {{{M[0][0], M[1][0]}, {M[1][0], M[2][0]}}};
        plain.pr_01 = {{{M[0][1] * 0.5, M[0][0]}, {M[0][2], M[2][1] * 0.5}}};
        plain.pr_10 = {{{M[0][1] * 0.5, M[0][2]}, {M[0][0], M[2][1] * 0.5}}};
        run.models.pr_alleles_00[panel] = plain.pr_00;
        run.models.pr_alleles_01[panel] = plain.pr_01;
        run.models.pr_alleles_10[panel] = plain.pr_10;
        for (std::size_t v = 0; v < model.n_sites(); ++v) {
            const std::size_t s = model.site[v];
            const int g = genotype(panel, s);
            slow::pair_site site;
            site.allele = state_alleles(s);
            site.gap = slow::pair_gap(distances[v], gap_states);
            site.kept = (model.n_sites() - 1 - v) % model.interval == 0;
            for (std::size_t x = 0; x < 2; ++x) {
                for (std::size_t y = 0; y < 2; ++y) {
                    double e = gp(panel) ? run.sites.in_order[s]->gtype_emiss[panel][3 * ind + x + y]
                                         : M[x + y][static_cast<std::size_t>(g)];
                    if (ordered && phase_known(s)) {
                        e = Mh[x][static_cast<std::size_t>(run.panels[panel].haps.allele(hap, s))] *
                            Mh[y][static_cast<std::size_t>(run.panels[panel].haps.allele(hap + 1, s))];
                    }
                    site.emission[x * 2 + y] = e;
                }
            }
            if (phase_known(s) && panel == 2) {
                site.draw = slow::pair_draw::none;
            } else if (gp(panel) || g == 3) {
                site.draw = slow::pair_draw::genotype;
            } else {
                site.draw = g == 1 ? slow::pair_draw::order : slow::pair_draw::none;
            }
            plain.sites.push_back(site);
        }
    }
    std::size_t site_of(std::size_t panel, std::size_t v) { return at(run.models.chains, 1, panel, panel).site[v]; }

    template <typename Model>
    void expect_draws(const Model& plain, std::size_t panel, bool stored, const packed_haplotypes& before) {
        packed_haplotypes expected = before;
        const bool counting = run.plan.count_missing_only && run.params.mc_impute && panel >= 2 && stored;
        std::vector<std::array<int, 2>> counted(n_sites, {0, 0});
        for (std::size_t v = 0; v < plain.sites.size(); ++v) {
            const slow::pair_site& site = plain.sites[v];
            if (site.draw == slow::pair_draw::none) continue;
            const std::size_t s = site_of(panel, v);
            expected.set(hap, s, site.drawn[0]);
            expected.set(hap + 1, s, site.drawn[1]);
            const int n_ones = site.drawn[0] + site.drawn[1];
            if (counting && in_output(s) && site.draw == slow::pair_draw::genotype && n_ones > 0)
                counted[s][static_cast<std::size_t>(n_ones - 1)] = 1;
        }
        expect_haplotypes(panel, expected);
        for (std::size_t s = 0; s < n_sites; ++s) {
            const sample_tally& tally = run.acc.tallies[s];
            EXPECT_EQ(counted[s][0], tally.miss_counts[0][0]) << "site " << s;
            EXPECT_EQ(counted[s][1], tally.miss_counts[1][0]) << "site " << s;
            EXPECT_EQ(static_cast<std::size_t>(counted[s][0] + counted[s][1]), tally.miss_idx);
        }
        EXPECT_EQ(static_cast<std::size_t>(plain.stay_count), result.walk.stay_count);
        EXPECT_EQ(static_cast<std::size_t>(plain.switch_count), result.walk.switch_count);
    }

    // What the posteriors of an unordered individual add.
    sums unordered_posteriors(const slow::diploid_model& plain, std::size_t panel) {
        sums added;
        const emission_table& M = at(run.models.mutation, 1, panel, panel);
        for (std::size_t v = 0; v < plain.sites.size(); ++v) {
            const std::size_t s = site_of(panel, v);
            if (!in_output(s) || (run.plan.count_missing_only && genotype(panel, s) != 3)) continue;
            const slow::pair_site& site = plain.sites[v];
            std::array<double, 3> pr{};
            for (std::size_t a = 0; a < site.product.size(); ++a) {
                for (std::size_t b = 0; b <= a; ++b) {
                    const auto sum = static_cast<std::size_t>(site.allele[a] + site.allele[b]);
                    const double w = site.product[a][b] /
                                     site.emission[static_cast<std::size_t>(site.allele[a] * 2 + site.allele[b])];
                    for (std::size_t g = 0; g < 3; ++g) pr[g] += M[sum][g] * w;
                }
            }
            double total = pr[0] + pr[1] + pr[2];
            for (double& p : pr) p /= total;
            if (run.params.pgs_prob) {
                total = 0.0;
                for (std::size_t g = 0; g < 3; ++g) {
                    pr[g] *= static_cast<double>(run.sites.in_order[s]->gtype_probs[panel][3 * ind + g]);
                    total += pr[g];
                }
                for (double& p : pr) p /= total;
            }
            added.genotype[0][s] += pr[1];
            added.genotype[1][s] += pr[2];
        }
        return added;
    }

    // What the posteriors of an ordered individual add.
    sums ordered_posteriors(const slow::ordered_model& plain, std::size_t panel) {
        sums added;
        const emission_table& Mh = at(run.models.mutation, 0, panel, panel);
        for (std::size_t v = 0; v < plain.sites.size(); ++v) {
            const std::size_t s = site_of(panel, v);
            if (!in_output(s)) continue;
            if (phase_known(s)) {
                const int x = run.panels[panel].haps.allele(hap, s), y = run.panels[panel].haps.allele(hap + 1, s);
                if (x + y > 0 && !no_posterior() && !run.plan.count_missing_only)
                    added.genotype[static_cast<std::size_t>(x + y - 1)][s] += 1.0;
                if (count_to_slot()) {
                    added.allele[0][s] += x;
                    added.allele[1][s] += y;
                }
                continue;
            }
            if (run.plan.count_missing_only && genotype(panel, s) != 3) continue;
            const slow::pair_site& site = plain.sites[v];
            std::array<std::array<double, 2>, 2> chance{};
            for (std::size_t a = 0; a < site.product.size(); ++a) {
                for (std::size_t b = 0; b < site.product.size(); ++b) {
                    const double w = site.product[a][b] /
                                     site.emission[static_cast<std::size_t>(site.allele[a] * 2 + site.allele[b])];
                    for (std::size_t x = 0; x < 2; ++x) {
                        chance[0][x] += Mh[static_cast<std::size_t>(site.allele[a])][x] * w;
                        chance[1][x] += Mh[static_cast<std::size_t>(site.allele[b])][x] * w;
                    }
                }
            }
            const double p = chance[0][1] / (chance[0][0] + chance[0][1]);
            const double q = chance[1][1] / (chance[1][0] + chance[1][1]);
            if (!no_posterior()) {
                added.genotype[0][s] += p * (1.0 - q) + (1.0 - p) * q;
                added.genotype[1][s] += p * q;
            }
            if (count_to_slot()) {
                added.allele[0][s] += p;
                added.allele[1][s] += q;
            }
        }
        return added;
    }

    void set_random_options(std::uint64_t seed) {
        run.sites.store.clear();
        run.params = {};
        make(seed);
        parameters& p = run.params;
        p.prob_g = source.chance(0.3);
        p.prob_g_ref = source.chance(0.3);
        p.pgs = source.chance(0.4);
        p.pgs_prob = source.chance(0.2);
        p.pgs_miss = run.plan.count_missing_only = !p.pgs && !p.pgs_prob && !p.prob_g && source.chance(0.5);
        p.mc_impute = source.chance(0.3);
        p.phase = source.chance(0.5);
        p.print_allele_probs = source.chance(0.3);
        p.mem_save_1 = source.chance(0.4);
        p.use_old_code = source.chance(0.3);
        p.include_buffer_in_output = source.chance(0.3);
        p.fill_holes = source.chance(0.2);
        run.plan.hole_fill_to = 1;
    }
    pair_update update_of(std::size_t panel) {
        pair_update u;
        u.ind = ind;
        u.hap = hap;
        u.panel = panel;
        u.backward = panel == 2 && source.chance(0.7);
        u.genotype_probs = u.backward;
        u.stored = source.chance(0.7);
        return u;
    }
    // Runs the update and records it.
    void perform(const pair_update& u) {
        const inference_inputs in = run.inputs();
        update_pair(in, u, states, work, result);
        record_pair(in, u, result, run.panels[u.panel], run.acc);
    }
    pair_result result;
};

TEST_F(pair_updates, of_unordered_individuals_follow_their_rules) {
    for (int seed = 1; seed <= 40; ++seed) {
        set_random_options(static_cast<std::uint64_t>(seed));
        const std::size_t panel = 1 + source.index(2), K = 1 + source.index(9);
        choose_states(K, {0, 1, 2});
        const pair_update u = update_of(panel);
        set_states(1, panel, panel, K);
        slow::diploid_model plain;
        make_model(plain, panel, K, false);
        plain.mem_save = run.params.mem_save_1 && !(run.params.use_old_code && u.backward);
        plain.interval = 3;
        double next = 0.0, likelihood = 0.0;
        {
            seeded_draws draws(seed);
            likelihood = plain.forward();
            if (run.params.use_old_code) {
                plain.walk_in_turns(true, u.backward);
            } else {
                plain.walk_by_site(true, u.backward);
            }
            next = draws.next();
        }
        const sums expected = u.genotype_probs ? unordered_posteriors(plain, panel) : sums{};
        const packed_haplotypes before = run.panels[panel].haps;
        SCOPED_TRACE("seed " + std::to_string(seed) + " panel " + std::to_string(panel));
        seeded_draws draws(seed);
        perform(u);
        EXPECT_NEAR(likelihood, result.log10_likelihood, 1e-10);
        EXPECT_EQ(next, draws.next());
        expect_draws(plain, panel, u.stored, before);
        expect_sums(expected, false);
        if (HasFailure()) return;
    }
}

TEST_F(pair_updates, of_ordered_individuals_follow_their_rules) {
    for (int seed = 1; seed <= 40; ++seed) {
        set_random_options(static_cast<std::uint64_t>(seed));
        run.params.prob_g = false;
        run.panels[2].ordered[ind] = true;
        const std::size_t K = 1 + source.index(8);
        choose_states(K, {0, 1, 2});
        pair_update u = update_of(2);
        u.ordered = true;
        u.known_slot = 0;
        set_states(1, 2, 2, K);
        slow::ordered_model plain;
        make_model(plain, 2, K, true);
        double next = 0.0;
        {
            seeded_draws draws(seed);
            plain.forward();
            plain.walk_in_turns(true, u.backward);
            next = draws.next();
        }
        const sums expected = u.genotype_probs ? ordered_posteriors(plain, 2) : sums{};
        const packed_haplotypes before = run.panels[2].haps;
        SCOPED_TRACE("seed " + std::to_string(seed));
        seeded_draws draws(seed);
        perform(u);
        EXPECT_EQ(next, draws.next());
        expect_draws(plain, 2, u.stored, before);
        expect_sums(expected, false);
        if (HasFailure()) return;
    }
}

TEST_F(pair_updates, phase_is_summed_over_paths_of_one_sweep_as_over_those_of_several) {
    make(5);
    choose_states(6, {0, 1, 2});
    set_states(1, 2, 2, 6);
    slow::diploid_model plain;
    make_model(plain, 2, 6, false);
    pair_update u;
    u.ind = ind;
    u.hap = hap;
    u.panel = 2;
    const packed_haplotypes before = run.panels[2].haps;
    const inference_inputs in = run.inputs();
    constexpr std::size_t n_paths = 20000;
    phase_sums expected, found;
    const seeded_draws of_the_walk(9);
    for (std::size_t path = 0; path < n_paths; ++path) {
        update_pair(in, u, states, work, result);
        record_phase(model_of(in, u), result, expected);
    }
    SplitMix draws(9);
    sum_phase(in, u, states, n_paths, draws, work, result, found);
    EXPECT_EQ(n_paths, found.n_paths);
    ASSERT_LT(2U, found.site.size());
    EXPECT_EQ(expected.site, found.site);
    const double far = 5.0 * std::sqrt(2.0 * n_paths);
    for (std::size_t i = 0; i < found.site.size(); ++i) {
        EXPECT_NEAR(expected.with_previous[i], found.with_previous[i], far);
        EXPECT_NEAR(expected.with_second[i], found.with_second[i], far);
    }
    EXPECT_LT(4.0 * far, *std::max_element(found.with_previous.begin(), found.with_previous.end())) << "says nothing";
    expect_haplotypes(2, before);
}

TEST_F(pair_updates, of_an_ordered_individual_whose_phase_is_all_known_draw_no_allele) {
    make(3);
    run.panels[2].ordered[ind] = true;
    for (snp* site : run.sites.in_order) site->known_phase_flags.assign(4, true);
    choose_states(5, {0, 1});
    set_states(1, 2, 2, 5);
    slow::ordered_model plain;
    make_model(plain, 2, 5, true);
    const packed_haplotypes before = run.panels[2].haps;
    double next = 0.0;
    {
        seeded_draws draws(2);
        for (std::size_t v = 0; v < plain.sites.size(); ++v) draws.next();
        next = draws.next();
    }
    pair_update u = update_of(2);
    u.ordered = true;
    u.known_slot = 0;
    seeded_draws draws(2);
    perform(u);
    EXPECT_EQ(next, draws.next()) << "one draw a site";
    expect_haplotypes(2, before);
}

}  // namespace
