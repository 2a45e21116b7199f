#include "inference/update/updates.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "inference/class_tools.h"
#include "inference/model_run.h"
#include "inference/slow_diploid.h"
#include "inference/slow_haploid.h"
#include "inference/slow_ordered.h"
#include "inference/update/workspace.h"
#include "model/data.h"
#include "params/switch_rates.h"

namespace {

std::size_t z(int i) {
    return static_cast<std::size_t>(i);
}

// A run with sites of all kinds, and the rules of an update written out beside it.
class updates : public ::testing::Test, protected model_run {
  protected:
    static constexpr int n_sites = 45;
    static constexpr int ind = 1, hap = 2;  // the individual in hand and its first haplotype

    void make(std::uint64_t seed) {
        source = input_source(seed);
        run.plan.n_panels = 3;
        run.plan.int_lower_bp = 105;
        run.plan.int_upper_bp = 140;
        run.plan.buffer_lower = 100;
        run.plan.buffer_upper = 160;
        run.plan.output_types = {true, true, true, true};
        const std::vector<std::pair<int, int>> kinds{{0, 0}, {0, 1}, {1, 1}, {1, 2}, {2, 2}, {2, 2}, {2, 2}, {3, 3}};
        for (int s = 0; s < n_sites; ++s) {
            const auto [type, top] = kinds[z(source.integer(0, 7))];
            snp& site = add_site(100 + s, type, top);
            site.ref_alleles_missing = source.chance(0.2);
            site.panel1_placeholder = type == 2 && source.chance(0.2);
            for (auto& gtypes : site.gtypes) {
                for (int i = 0; i < 4; ++i) gtypes.push_back(static_cast<std::uint8_t>(source.integer(0, 3)));
            }
            for (auto& probs : site.gtype_probs) {
                for (int i = 0; i < 12; ++i) probs.push_back(static_cast<float>(source.uniform()));
            }
            for (auto& weights : site.gtype_emiss) {
                for (int i = 0; i < 12; ++i) weights.push_back(source.uniform());
            }
            if (source.chance(0.5)) {
                for (int i = 0; i < 4; ++i) site.known_phase_flags.push_back(source.chance(0.4));
            }
        }
        list_sites();
        give_haplotypes({8, 8, 8});
        fill_haplotypes(source);
        run.panels[0].missing = packed_haplotypes(8, n_sites);
        for (std::size_t h = 0; h < 8; ++h) {
            for (std::size_t s = 0; s < n_sites; ++s) run.panels[0].missing.set(h, s, source.chance(0.3) ? 1 : 0);
        }
        std::vector<int> columns;
        for (int s = 0; s < n_sites; ++s) columns.push_back(s);
        for (std::size_t g = 0; g < 2; ++g) {
            run.acc.gtype_acc[g].allocate(4, columns, n_sites);
            run.acc.gtype_acc2[g].allocate(1, columns, n_sites);
            run.work->allele_prob[g].assign(n_sites, -1.0);
            for (std::size_t cond = 0; cond < 2; ++cond) run.work->allele_acc[cond][g].assign(n_sites, -1.0);
        }
        run.acc.last_sampled_gtype.assign(n_sites, 0);
        run.acc.tallies.assign(n_sites, {});
        for (sample_tally& tally : run.acc.tallies)
            tally.miss_counts = {std::vector<int>(3, 0), std::vector<int>(3, 0)};
    }
    void choose_states(int K, const std::vector<int>& panels) {
        run.cond_states.clear();
        for (int k = 0; k < K; ++k)
            run.cond_states.add(panels[z(source.integer(0, static_cast<int>(panels.size()) - 1))],
                                source.integer(4, 7));
    }
    bool in_output(std::size_t s) const {
        return run.params.include_buffer_in_output || (run.sites.positions[s] >= 105 && run.sites.positions[s] <= 140);
    }
    std::vector<int> state_alleles(std::size_t s) const {
        std::vector<int> alleles;
        for (std::size_t k = 0; k < run.cond_states.size(); ++k) {
            alleles.push_back(run.panels[z(run.cond_states.panel[k])].haps.allele(z(run.cond_states.hap[k]), s));
        }
        return alleles;
    }
    bool no_posterior() const { return !run.params.pgs && !run.params.pgs_miss && !run.params.pgs_prob; }
    bool count_to_slot() const {
        const parameters& p = run.params;
        return p.print_allele_probs || (p.phase && (p.pgs_prob || run.panels[2].ordered[ind]));
    }
    // Sums as the rules give them, by site.
    struct sums {
        std::array<std::vector<double>, 2> genotype, allele;
        sums() {
            for (auto* table : {&genotype, &allele}) {
                for (auto& row : *table) row.assign(n_sites, 0.0);
            }
        }
    };
    void expect_sums(const sums& expected, bool one_allele) {
        for (std::size_t s = 0; s < n_sites; ++s) {
            for (std::size_t g = 0; g < 2; ++g) {
                EXPECT_NEAR(expected.genotype[g][s], run.acc.gtype_acc[g].get(ind, s), 1e-12) << "site " << s;
                EXPECT_EQ(0.0, run.acc.gtype_acc[g].get(0, s));
                if (g == 1 && one_allele) continue;
                EXPECT_NEAR(expected.allele[g][s], run.acc.gtype_acc2[g].get(0, s), 1e-12) << "site " << s;
            }
        }
    }
    void expect_haplotypes(int panel, const packed_haplotypes& expected) {
        for (std::size_t h = 0; h < 8; ++h) {
            for (std::size_t s = 0; s < n_sites; ++s) {
                ASSERT_EQ(expected.allele(h, s), run.panels[z(panel)].haps.allele(h, s))
                    << "haplotype " << h << " site " << s;
            }
        }
    }

    input_source source{1};
};

// --- one haplotype --------------------------------------------------------------------------------------------------

class haploid_updates : public updates {
  protected:
    bool full(int panel, int cond) const {
        return !(run.params.fill_holes && panel == cond && panel == run.plan.hole_fill_to);
    }
    int observed(const haploid_update& u, std::size_t s) const {
        const snp& site = *run.sites.in_order[s];
        if (u.panel == 0)
            return run.panels[0].missing.allele(z(u.hap), s) == 1 ? 2 : run.panels[0].haps.allele(z(u.hap), s);
        if (u.panel == 1 && site.panel1_placeholder) return 2;
        if (u.panel > u.cond_panel) return site.type >= u.panel ? run.panels[z(u.panel)].haps.allele(z(u.hap), s) : 2;
        const int g = site.gtypes[z(u.panel)][z(u.ind)];
        return g > 2 ? 2 : g / 2;
    }
    bool own_missing(const haploid_update& u, std::size_t s) const {
        return u.panel == 0 ? run.panels[0].missing.allele(z(u.hap), s) == 1
                            : run.sites.in_order[s]->gtypes[z(u.panel)][z(u.ind)] == 3;
    }
    // Whether the walk by site draws the allele.
    bool draws_by_site(const haploid_update& u, std::size_t s) const {
        const snp& site = *run.sites.in_order[s];
        if (u.panel == 1 && site.panel1_placeholder) return true;
        const bool through = run.params.use_panel1_for_type0_imputation && u.panel == 2;
        if (through && site.top_panel != u.cond_panel) return false;
        if (!through && site.type != u.cond_panel) return false;
        if (!through && u.panel == 0) return own_missing(u, s);
        return u.panel > u.cond_panel ? site.type < u.panel : own_missing(u, s);
    }
    // Whether the older routine draws it.
    bool draws_in_turn(const haploid_update& u, std::size_t s) const {
        const snp& site = *run.sites.in_order[s];
        if (u.panel == u.cond_panel) return own_missing(u, s);
        if (u.panel == 1 && site.panel1_placeholder) return true;
        return (run.params.use_panel1_for_type0_imputation ? site.top_panel : site.type) == u.cond_panel;
    }
    bool keeps(const haploid_update& u, std::size_t s) const {
        const parameters& p = run.params;
        if (u.panel == u.cond_panel || (p.phase && in_output(s))) return true;
        return p.use_panel1_for_type0_imputation && (u.panel == 1 || p.stage_one);
    }

    void make_model(const haploid_update& u, int K) {
        hmm_model& model = at(run.models.chains, 0, u.panel, u.cond_panel);
        model = {};
        for (const snp* site : run.sites.in_order) {
            if (site->top_panel < u.cond_panel || site->top_panel == 3) continue;
            if (!full(u.panel, u.cond_panel) && site->ref_alleles_missing) continue;
            model.site.push_back(site->index);
            model.hap_gap.push_back(make_haploid_gap(random_distance(source), K + 3));
        }
        model.interval = 4;
        const double mu = 0.02;
        at(run.models.mutation, 0, u.panel, u.cond_panel) = {{{1.0 - mu, mu, 1.0, 0.0}, {mu, 1.0 - mu, 1.0, 0.0}, {}}};
        plain = {};
        plain.K = K;
        plain.M = {{{1.0 - mu, mu, 1.0}, {mu, 1.0 - mu, 1.0}}};
        plain.mem_save = run.params.mem_save_1 && !run.params.use_old_code && !run.params.show_ref_copy_probs;
        plain.interval = 4;
        for (std::size_t v = 0; v < model.n_sites(); ++v) {
            const auto s = z(model.site[v]);
            slow::haploid_site site;
            site.allele = state_alleles(s);
            site.obs = observed(u, s);
            site.stay = model.hap_gap[v].stay;
            site.move = model.hap_gap[v].move;
            site.diff = model.hap_gap[v].diff;
            site.kept = (model.n_sites() - 1 - v) % model.interval == 0;
            site.draw_allele = run.params.use_old_code ? draws_in_turn(u, s) : draws_by_site(u, s);
            plain.sites.push_back(site);
        }
    }
    std::size_t site_of(const haploid_update& u, std::size_t v) {
        return z(at(run.models.chains, 0, u.panel, u.cond_panel).site[v]);
    }

    // Runs the update and the plain one with the same seed; compares everything.
    void expect_update(const haploid_update& u, int K, int seed) {
        make_model(u, K);
        set_states(0, u.panel, u.cond_panel, K);
        double next = 0.0, plain_likelihood = 0.0;
        {
            seeded_draws draws(seed);
            plain_likelihood = plain.forward();
            if (run.params.use_old_code) {
                plain.walk_in_turns(u.sample, u.backward);
            } else {
                plain.walk_by_site(u.sample, u.backward);
            }
            next = draws.next();
        }
        packed_haplotypes expected = run.panels[z(u.panel)].haps;
        std::vector<int> last_sampled(n_sites, 0), counted(n_sites, -1);
        const bool counting = run.plan.count_missing_only && run.params.mc_impute && u.panel == u.cond_panel &&
                              u.cond_panel >= 2 && u.stored;
        for (std::size_t v = 0; v < plain.sites.size() && u.sample; ++v) {
            if (!plain.sites[v].draw_allele) continue;
            const std::size_t s = site_of(u, v);
            const int x = plain.sites[v].drawn;
            if (u.save_alleles && in_output(s)) last_sampled[s] = run.plan.sporadic_haploid_imputation ? 2 * x : x;
            if (keeps(u, s)) expected.set(z(u.hap), s, x);
            if (counting && in_output(s)) counted[s] = x;
        }
        const auto expected_allele = allele_posteriors(u);
        const sums expected_sums = genotype_posteriors(u, expected);

        seeded_draws draws(seed);
        EXPECT_NEAR(plain_likelihood, update_haploid(run, u), 1e-10);
        EXPECT_EQ(next, draws.next());
        expect_haplotypes(u.panel, expected);
        EXPECT_EQ(last_sampled, run.acc.last_sampled_gtype);
        for (std::size_t s = 0; s < n_sites; ++s) {
            const sample_tally& tally = run.acc.tallies[s];
            EXPECT_EQ(counted[s] >= 0 ? 1U : 0U, tally.miss_idx) << "site " << s;
            EXPECT_EQ(std::max(counted[s], 0), tally.miss_counts[1][0]);
        }
        EXPECT_EQ(plain.stay_count, run.hap_stay_count);
        EXPECT_EQ(plain.switch_count, run.hap_switch_count);
        for (std::size_t s = 0; s < n_sites; ++s) {
            EXPECT_NEAR(expected_allele.first[s], run.work->allele_prob[z(u.strand)][s], 1e-12) << "site " << s;
            if (u.cond_panel > 1) continue;
            EXPECT_NEAR(expected_allele.second[s], run.work->allele_acc[z(u.cond_panel)][z(u.strand)][s], 1e-12);
        }
        expect_sums(expected_sums, true);
    }

    // allele_prob and allele_acc by site, -1 where nothing is written.
    std::pair<std::vector<double>, std::vector<double>> allele_posteriors(const haploid_update& u) {
        std::vector<double> prob(n_sites, -1.0), leave_out(n_sites, -1.0);
        for (std::size_t v = 0; v < plain.sites.size() && u.allele_probs; ++v) {
            const std::size_t s = site_of(u, v);
            if (!in_output(s)) continue;
            const bool own = u.selfcheck && run.sites.in_order[s]->type == 2;
            const bool used = run.plan.output_types[z(u.cond_panel)] || run.params.weight_panel == u.cond_panel;
            if (run.sites.in_order[s]->top_panel != u.cond_panel && !(own && used)) continue;
            slow::haploid_site site = plain.sites[v];
            if (own) site.obs = run.panels[z(u.panel)].haps.allele(z(u.hap), s);
            (own ? leave_out : prob)[s] = plain.allele_one(site, own);
        }
        return {prob, leave_out};
    }

    // What the posteriors of a haploid individual add, by site; after are the haplotypes with the new draws.
    sums genotype_posteriors(const haploid_update& u, const packed_haplotypes& after) {
        sums result;
        for (std::size_t v = 0; v < plain.sites.size() && u.genotype_probs; ++v) {
            const std::size_t s = site_of(u, v);
            if (!in_output(s)) continue;
            const snp& site = *run.sites.in_order[s];
            if (!site.known_phase_flags.empty() && site.known_phase_flags[z(u.ind)]) {
                const int x = after.allele(z(u.hap), s);
                if (x > 0 && !no_posterior() && !run.plan.count_missing_only) result.genotype[1][s] += 1.0;
                if (count_to_slot()) result.allele[0][s] += x;
                continue;
            }
            const int o = observed(u, s);
            if (run.plan.count_missing_only && o != 2) continue;
            if (no_posterior() && o != 2) {
                if (o == 1 && count_to_slot()) result.allele[0][s] += 1.0;
                continue;
            }
            double p0 = 0.0, p1 = 0.0;
            for (std::size_t k = 0; k < plain.sites[v].allele.size(); ++k) {
                const auto& row = plain.M[z(plain.sites[v].allele[k])];
                const double w = plain.sites[v].product[k] / row[z(o)];
                p0 += row[0] * w;
                p1 += row[1] * w;
            }
            const double p = p0 + p1 > slow::smallest_normal ? p1 / (p0 + p1) : 0.5;
            if (!no_posterior()) result.genotype[1][s] += p;
            if (count_to_slot()) result.allele[0][s] += p;
        }
        return result;
    }

    slow::haploid_model plain;
};

TEST_F(haploid_updates, of_any_model_follow_their_rules) {
    const std::vector<std::pair<int, int>> models{{0, 0}, {1, 0}, {1, 1}, {2, 0}, {2, 1}, {2, 2}};
    int seed = 0;
    for (int repeat = 0; repeat < 8; ++repeat) {
        for (const auto& [panel, cond] : models) {
            run.sites.store.clear();
            run.params = {};
            run.hap_stay_count = run.hap_switch_count = 0;
            make(static_cast<std::uint64_t>(++seed));
            parameters& p = run.params;
            p.use_old_code = source.chance(0.3);
            p.mem_save_1 = source.chance(0.4);
            p.show_ref_copy_probs = source.chance(0.1);
            p.use_panel1_for_type0_imputation = source.chance(0.4);
            p.stage_one = source.chance(0.3);
            p.phase = source.chance(0.5);
            p.include_buffer_in_output = source.chance(0.3);
            p.fill_holes = source.chance(0.3);
            run.plan.hole_fill_to = source.integer(0, 1);
            p.mc_impute = source.chance(0.4);
            run.plan.count_missing_only = p.pgs_miss = source.chance(0.3);
            p.weight_panel = source.integer(-1, 1);
            run.plan.output_types[z(cond)] = source.chance(0.7);
            run.plan.sporadic_haploid_imputation = panel == 0;
            std::vector<int> copied;
            for (int c = 0; c <= cond; ++c) copied.push_back(c);
            const int K = source.integer(1, 12);
            choose_states(K, copied);
            haploid_update u;
            u.ind = panel == 0 ? hap : ind;
            u.hap = hap;
            u.panel = panel;
            u.cond_panel = cond;
            u.strand = source.integer(0, 1);
            u.sample = source.chance(0.8);
            u.save_alleles = source.chance(0.5);
            u.backward = panel == 2;
            u.allele_probs = panel == 2 && cond < 2;
            u.selfcheck = source.chance(0.5);
            u.stored = source.chance(0.7);
            SCOPED_TRACE("seed " + std::to_string(seed) + " panel " + std::to_string(panel) + " from " +
                         std::to_string(cond));
            expect_update(u, K, seed);
            if (HasFailure()) return;
        }
    }
}

// Posteriors alone, from a reference panel of few different haplotypes, are found by classes of these; the rules stay.
TEST_F(haploid_updates, from_few_different_haplotypes_follow_their_rules) {
    for (int seed = 1; seed <= 24; ++seed) {
        run.sites.store.clear();
        run.params = {};
        make(static_cast<std::uint64_t>(seed));
        mosaic_panel reference;
        reference.n_hap = 60;
        reference.n_sites = n_sites;
        reference.n_founders = 4;
        run.panels[0].haps = make_panel(source, reference);
        run.panels[0].n_hap = 60;
        run.work->reference_classes = {};
        run.work->by_class = {};
        parameters& p = run.params;
        p.include_buffer_in_output = source.chance(0.3);
        p.use_panel1_for_type0_imputation = source.chance(0.4);
        p.mem_save_1 = source.chance(0.2);
        p.weight_panel = source.integer(-1, 1);
        run.plan.output_types[0] = source.chance(0.7);
        haploid_update u;
        u.ind = ind;
        u.hap = hap + source.integer(0, 1);
        u.strand = u.hap - hap;
        u.panel = 2;
        u.cond_panel = 0;
        u.sample = source.chance(0.1);
        u.backward = u.allele_probs = true;
        u.selfcheck = source.chance(0.5);
        const std::size_t K = z(source.integer(1, 60));
        run.cond_states.clear();
        for (const int h : choose_ascending(source, K, 0, 60)) run.cond_states.add(0, h);
        SCOPED_TRACE("seed " + std::to_string(seed));
        run.hap_stay_count = run.hap_switch_count = 0;
        expect_update(u, static_cast<int>(K), seed);
        haploid_problem read;
        read.n_sites = at(run.models.chains, 0, 2, 0).n_sites();
        read.checkpoint_interval = p.mem_save_1 ? at(run.models.chains, 0, 2, 0).interval : 0;
        const bool stale = reads_stale_values(read, {u.sample, true, false}, run.work->haploid_requests);
        EXPECT_EQ(u.sample || stale, run.work->by_class.blocks.empty());
        if (HasFailure()) return;
    }
}

TEST_F(haploid_updates, add_the_posteriors_of_a_haploid_individual) {
    for (int seed = 1; seed <= 24; ++seed) {
        run.sites.store.clear();
        run.params = {};
        run.hap_stay_count = run.hap_switch_count = 0;
        make(static_cast<std::uint64_t>(seed));
        parameters& p = run.params;
        p.pgs = source.chance(0.3);
        p.pgs_prob = source.chance(0.2);
        p.pgs_miss = run.plan.count_missing_only = !p.pgs && !p.pgs_prob && source.chance(0.3);
        p.phase = source.chance(0.5);
        p.print_allele_probs = source.chance(0.4);
        p.use_old_code = source.chance(0.3);
        run.panels[2].ordered[ind] = source.chance(0.5);
        choose_states(7, {0, 1, 2});
        haploid_update u;
        u.ind = ind;
        u.hap = hap;
        u.panel = u.cond_panel = 2;
        u.known_index = 0;
        u.sample = u.backward = u.genotype_probs = u.stored = true;
        SCOPED_TRACE("seed " + std::to_string(seed));
        expect_update(u, 7, seed);
        if (HasFailure()) return;
    }
}

// --- individuals ----------------------------------------------------------------------------------------------------

class pair_updates : public updates {
  protected:
    bool gp(int panel) const { return panel == 2 ? run.params.prob_g : run.params.prob_g_ref; }
    bool phase_known(std::size_t s) const {
        const auto& flags = run.sites.in_order[s]->known_phase_flags;
        return !flags.empty() && flags[ind];
    }
    int genotype(int panel, std::size_t s) const { return run.sites.in_order[s]->gtypes[z(panel)][ind]; }

    template <typename Model>
    void make_model(Model& plain, int panel, int K, bool ordered) {
        hmm_model& model = at(run.models.chains, 1, panel, panel);
        model = {};
        std::vector<double> distances;
        const bool full = !(run.params.fill_holes && panel == run.plan.hole_fill_to);
        for (const snp* site : run.sites.in_order) {
            if (site->type < panel || site->type == 3 || (!full && site->ref_alleles_missing)) continue;
            if (panel == 1 && site->panel1_placeholder) continue;
            model.site.push_back(site->index);
            distances.push_back(random_distance(source));
            model.dip_gap.push_back(make_diploid_gap(distances.back(), K + 5));
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
        plain.K = K;
        plain.pr_00 = {{{M[0][0], M[1][0]}, {M[1][0], M[2][0]}}};
        plain.pr_01 = {{{M[0][1] * 0.5, M[0][0]}, {M[0][2], M[2][1] * 0.5}}};
        plain.pr_10 = {{{M[0][1] * 0.5, M[0][2]}, {M[0][0], M[2][1] * 0.5}}};
        run.models.pr_alleles_00[z(panel)] = plain.pr_00;
        run.models.pr_alleles_01[z(panel)] = plain.pr_01;
        run.models.pr_alleles_10[z(panel)] = plain.pr_10;
        for (std::size_t v = 0; v < model.n_sites(); ++v) {
            const auto s = z(model.site[v]);
            const int g = genotype(panel, s);
            slow::pair_site site;
            site.allele = state_alleles(s);
            site.gap = slow::pair_gap(distances[v], K + 5);
            site.kept = (model.n_sites() - 1 - v) % model.interval == 0;
            for (std::size_t x = 0; x < 2; ++x) {
                for (std::size_t y = 0; y < 2; ++y) {
                    double e =
                        gp(panel) ? run.sites.in_order[s]->gtype_emiss[z(panel)][3 * ind + x + y] : M[x + y][z(g)];
                    if (ordered && phase_known(s)) {
                        e = Mh[x][z(run.panels[z(panel)].haps.allele(hap, s))] *
                            Mh[y][z(run.panels[z(panel)].haps.allele(hap + 1, s))];
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
    std::size_t site_of(int panel, std::size_t v) { return z(at(run.models.chains, 1, panel, panel).site[v]); }

    template <typename Model>
    void expect_draws(const Model& plain, int panel, bool stored, const packed_haplotypes& before) {
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
                counted[s][z(n_ones - 1)] = 1;
        }
        expect_haplotypes(panel, expected);
        for (std::size_t s = 0; s < n_sites; ++s) {
            const sample_tally& tally = run.acc.tallies[s];
            EXPECT_EQ(counted[s][0], tally.miss_counts[0][0]) << "site " << s;
            EXPECT_EQ(counted[s][1], tally.miss_counts[1][0]) << "site " << s;
            EXPECT_EQ(static_cast<std::size_t>(counted[s][0] + counted[s][1]), tally.miss_idx);
        }
        EXPECT_EQ(plain.stay_count, run.dip_stay_count);
        EXPECT_EQ(plain.switch_count, run.dip_switch_count);
    }

    // What the posteriors of an unordered individual add.
    sums unordered_posteriors(const slow::diploid_model& plain, int panel) {
        sums result;
        const emission_table& M = at(run.models.mutation, 1, panel, panel);
        for (std::size_t v = 0; v < plain.sites.size(); ++v) {
            const std::size_t s = site_of(panel, v);
            if (!in_output(s) || (run.plan.count_missing_only && genotype(panel, s) != 3)) continue;
            const slow::pair_site& site = plain.sites[v];
            std::array<double, 3> pr{};
            for (std::size_t a = 0; a < site.product.size(); ++a) {
                for (std::size_t b = 0; b <= a; ++b) {
                    const auto sum = z(site.allele[a] + site.allele[b]);
                    const double w = site.product[a][b] / site.emission[z(site.allele[a] * 2 + site.allele[b])];
                    for (std::size_t g = 0; g < 3; ++g) pr[g] += M[sum][g] * w;
                }
            }
            double total = pr[0] + pr[1] + pr[2];
            for (double& p : pr) p /= total;
            if (run.params.pgs_prob) {
                total = 0.0;
                for (std::size_t g = 0; g < 3; ++g) {
                    pr[g] *= static_cast<double>(run.sites.in_order[s]->gtype_probs[z(panel)][3 * ind + g]);
                    total += pr[g];
                }
                for (double& p : pr) p /= total;
            }
            result.genotype[0][s] += pr[1];
            result.genotype[1][s] += pr[2];
        }
        return result;
    }

    // What the posteriors of an ordered individual add.
    sums ordered_posteriors(const slow::ordered_model& plain, int panel) {
        sums result;
        const emission_table& Mh = at(run.models.mutation, 0, panel, panel);
        for (std::size_t v = 0; v < plain.sites.size(); ++v) {
            const std::size_t s = site_of(panel, v);
            if (!in_output(s)) continue;
            if (phase_known(s)) {
                const int x = run.panels[z(panel)].haps.allele(hap, s),
                          y = run.panels[z(panel)].haps.allele(hap + 1, s);
                if (x + y > 0 && !no_posterior() && !run.plan.count_missing_only)
                    result.genotype[z(x + y - 1)][s] += 1.0;
                if (count_to_slot()) {
                    result.allele[0][s] += x;
                    result.allele[1][s] += y;
                }
                continue;
            }
            if (run.plan.count_missing_only && genotype(panel, s) != 3) continue;
            const slow::pair_site& site = plain.sites[v];
            std::array<std::array<double, 2>, 2> chance{};
            for (std::size_t a = 0; a < site.product.size(); ++a) {
                for (std::size_t b = 0; b < site.product.size(); ++b) {
                    const double w = site.product[a][b] / site.emission[z(site.allele[a] * 2 + site.allele[b])];
                    for (std::size_t x = 0; x < 2; ++x) {
                        chance[0][x] += Mh[z(site.allele[a])][x] * w;
                        chance[1][x] += Mh[z(site.allele[b])][x] * w;
                    }
                }
            }
            const double p = chance[0][1] / (chance[0][0] + chance[0][1]);
            const double q = chance[1][1] / (chance[1][0] + chance[1][1]);
            if (!no_posterior()) {
                result.genotype[0][s] += p * (1.0 - q) + (1.0 - p) * q;
                result.genotype[1][s] += p * q;
            }
            if (count_to_slot()) {
                result.allele[0][s] += p;
                result.allele[1][s] += q;
            }
        }
        return result;
    }

    void set_random_options(std::uint64_t seed) {
        run.sites.store.clear();
        run.params = {};
        run.dip_stay_count = run.dip_switch_count = 0;
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
    diploid_update update_of(int panel) {
        diploid_update u;
        u.ind = ind;
        u.hap = hap;
        u.panel = panel;
        u.backward = panel == 2 && source.chance(0.7);
        u.genotype_probs = u.backward;
        u.stored = source.chance(0.7);
        return u;
    }
};

TEST_F(pair_updates, of_unordered_individuals_follow_their_rules) {
    for (int seed = 1; seed <= 40; ++seed) {
        set_random_options(static_cast<std::uint64_t>(seed));
        const int panel = source.integer(1, 2), K = source.integer(1, 9);
        choose_states(K, {0, 1, 2});
        const diploid_update u = update_of(panel);
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
        const packed_haplotypes before = run.panels[z(panel)].haps;
        SCOPED_TRACE("seed " + std::to_string(seed) + " panel " + std::to_string(panel));
        seeded_draws draws(seed);
        EXPECT_NEAR(likelihood, update_diploid(run, u), 1e-10);
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
        const int K = source.integer(1, 8);
        choose_states(K, {0, 1, 2});
        diploid_update u = update_of(2);
        u.known_index = 0;
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
        update_ordered(run, u);
        EXPECT_EQ(next, draws.next());
        expect_draws(plain, 2, u.stored, before);
        expect_sums(expected, false);
        if (HasFailure()) return;
    }
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
    diploid_update u = update_of(2);
    u.known_index = 0;
    seeded_draws draws(2);
    update_ordered(run, u);
    EXPECT_EQ(next, draws.next()) << "one draw a site";
    expect_haplotypes(2, before);
}

// --- individuals that need no update --------------------------------------------------------------------------------

TEST_F(updates, of_nobody_record_what_is_known) {
    for (int seed = 1; seed <= 10; ++seed) {
        run.sites.store.clear();
        run.params = {};
        make(static_cast<std::uint64_t>(seed));
        run.params.pgs = source.chance(0.5);
        run.params.phase = source.chance(0.5);
        run.params.print_allele_probs = source.chance(0.5);
        run.panels[2].ordered[ind] = source.chance(0.5);
        for (snp* site : run.sites.in_order) {
            site->gtypes[2][ind] = static_cast<std::uint8_t>(run.panels[2].haps.allele(hap, z(site->index)) +
                                                             run.panels[2].haps.allele(hap + 1, z(site->index)));
        }
        record_known_individual(run, ind, 0);
        const bool known = run.panels[2].ordered[ind];
        for (std::size_t s = 0; s < n_sites; ++s) {
            const bool counts = run.sites.in_order[s]->type == 2 && in_output(s);
            const int x = run.panels[2].haps.allele(hap, s), y = run.panels[2].haps.allele(hap + 1, s);
            EXPECT_EQ(counts && run.params.pgs && x + y == 1 ? 1.0 : 0.0, run.acc.gtype_acc[0].get(ind, s)) << s;
            EXPECT_EQ(counts && run.params.pgs && x + y == 2 ? 1.0 : 0.0, run.acc.gtype_acc[1].get(ind, s)) << s;
            const bool alleles = counts && known && (run.params.phase || run.params.print_allele_probs);
            EXPECT_EQ(alleles ? x : 0.0, run.acc.gtype_acc2[0].get(0, s)) << s;
            EXPECT_EQ(alleles ? y : 0.0, run.acc.gtype_acc2[1].get(0, s)) << s;
        }
    }
}

}  // namespace
