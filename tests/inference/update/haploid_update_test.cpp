#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

#include "inference/class_tools.h"
#include "inference/slow_haploid.h"
#include "inference/update/recording.h"
#include "inference/update/update_fixture.h"
#include "params/switch_rates.h"

namespace {

class haploid_updates : public update_fixture {
  protected:
    bool full(std::size_t panel, std::size_t cond) const {
        return !(run.plan.fill_holes && panel == cond && panel == run.plan.hole_fill_to);
    }
    int observed(const haploid_update& u, std::size_t s) const {
        const snp& site = *run.sites.in_order[s];
        if (u.panel == 0) return run.panels[0].missing.allele(u.hap, s) == 1 ? 2 : run.panels[0].haps.allele(u.hap, s);
        if (u.panel == 1 && site.panel1_placeholder) return 2;
        if (u.panel > u.cond_panel) return site.type >= u.panel ? run.panels[u.panel].haps.allele(u.hap, s) : 2;
        const int g = site.gtypes[u.panel][u.ind];
        return g > 2 ? 2 : g / 2;
    }
    bool own_missing(const haploid_update& u, std::size_t s) const {
        return u.panel == 0 ? run.panels[0].missing.allele(u.hap, s) == 1
                            : run.sites.in_order[s]->gtypes[u.panel][u.ind] == 3;
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

    void make_model(const haploid_update& u, std::size_t K) {
        hmm_model& model = at(run.models.chains, 0, u.panel, u.cond_panel);
        model = {};
        for (const snp* site : run.sites.in_order) {
            if (site->top_panel < u.cond_panel || site->top_panel == 3) continue;
            if (!full(u.panel, u.cond_panel) && site->ref_alleles_missing) continue;
            model.site.push_back(site->index);
            model.hap_gap.push_back(make_haploid_gap(random_distance(source), static_cast<int>(K) + 3));
        }
        model.interval = 4;
        const double mu = 0.02;
        at(run.models.mutation, 0, u.panel, u.cond_panel) = {{{1.0 - mu, mu, 1.0, 0.0}, {mu, 1.0 - mu, 1.0, 0.0}, {}}};
        plain = {};
        plain.K = static_cast<int>(K);
        plain.M = {{{1.0 - mu, mu, 1.0}, {mu, 1.0 - mu, 1.0}}};
        plain.mem_save = run.params.mem_save_1 && !run.params.use_old_code && !run.params.show_ref_copy_probs;
        plain.interval = 4;
        for (std::size_t v = 0; v < model.n_sites(); ++v) {
            const std::size_t s = model.site[v];
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
        return at(run.models.chains, 0, u.panel, u.cond_panel).site[v];
    }

    // Runs the update and the plain one with the same seed; compares everything.
    void expect_update(haploid_update u, std::size_t K, int seed) {
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
        packed_haplotypes expected = run.panels[u.panel].haps;
        std::vector<int> last_sampled(n_sites, 0), counted(n_sites, -1);
        const bool counting = run.plan.count_missing_only && run.params.mc_impute && u.panel == u.cond_panel &&
                              u.cond_panel >= 2 && u.stored;
        for (std::size_t v = 0; v < plain.sites.size() && u.sample; ++v) {
            if (!plain.sites[v].draw_allele) continue;
            const std::size_t s = site_of(u, v);
            const int x = plain.sites[v].drawn;
            if (u.save_alleles && in_output(s)) last_sampled[s] = run.plan.sporadic_haploid_imputation ? 2 * x : x;
            if (keeps(u, s)) expected.set(u.hap, s, x);
            if (counting && in_output(s)) counted[s] = x;
        }
        const auto expected_allele = allele_posteriors(u);
        const sums expected_sums = genotype_posteriors(u, expected);

        seeded_draws draws(seed);
        const inference_inputs in = run.inputs();
        haploid_result result;
        imputed_alleles imputed(n_sites);
        for (auto& chance : imputed.chance) chance.assign(n_sites, -1.0);
        for (auto& cond : imputed.chance_unseen) {
            for (auto& chance : cond) chance.assign(n_sites, -1.0);
        }
        u.classes = serving_classes(in, u, states, classes);
        update_haploid(in, u, states, work, result);
        requests = result.requests;
        record_haploid(in, u, result, run.panels[u.panel], run.acc);
        if (u.cond_panel < 2) record_alleles(in, u, result, imputed);
        EXPECT_NEAR(plain_likelihood, result.log10_likelihood, 1e-10);
        EXPECT_EQ(next, draws.next());
        expect_haplotypes(u.panel, expected);
        EXPECT_EQ(last_sampled, run.acc.last_sampled_gtype);
        for (std::size_t s = 0; s < n_sites; ++s) {
            const sample_tally& tally = run.acc.tallies[s];
            // The individual's missing genotype is the first of the site, or comes after that of the other one.
            const std::size_t entry = run.sites.in_order[s]->gtypes[2][0] == missing_genotype ? 1 : 0;
            EXPECT_EQ(std::max(counted[s], 0), tally.miss_counts[1][entry]) << "site " << s;
            EXPECT_EQ(0, tally.miss_counts[1][1 - entry]);
        }
        EXPECT_EQ(static_cast<std::size_t>(plain.stay_count), result.walk.stay_count);
        EXPECT_EQ(static_cast<std::size_t>(plain.switch_count), result.walk.switch_count);
        for (std::size_t s = 0; s < n_sites; ++s) {
            EXPECT_NEAR(expected_allele.first[s], imputed.chance[u.strand][s], 1e-12) << "site " << s;
            if (u.cond_panel > 1) continue;
            EXPECT_NEAR(expected_allele.second[s], imputed.chance_unseen[u.cond_panel][u.strand][s], 1e-12);
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
            const bool used =
                run.plan.output_types[u.cond_panel] || run.params.weight_panel == static_cast<int>(u.cond_panel);
            if (run.sites.in_order[s]->top_panel != u.cond_panel && !(own && used)) continue;
            slow::haploid_site site = plain.sites[v];
            if (own) site.obs = run.panels[u.panel].haps.allele(u.hap, s);
            (own ? leave_out : prob)[s] = plain.allele_one(site, own);
        }
        return {prob, leave_out};
    }

    // What the posteriors of a haploid individual add, by site; after are the haplotypes with the new draws.
    sums genotype_posteriors(const haploid_update& u, const packed_haplotypes& after) {
        sums added;
        for (std::size_t v = 0; v < plain.sites.size() && u.genotype_probs; ++v) {
            const std::size_t s = site_of(u, v);
            if (!in_output(s)) continue;
            const snp& site = *run.sites.in_order[s];
            if (!site.known_phase_flags.empty() && site.known_phase_flags[u.ind]) {
                const int x = after.allele(u.hap, s);
                if (x > 0 && !no_posterior() && !run.plan.count_missing_only) added.genotype[1][s] += 1.0;
                if (count_to_slot()) added.allele[0][s] += x;
                continue;
            }
            const int o = observed(u, s);
            if (run.plan.count_missing_only && o != 2) continue;
            if (no_posterior() && o != 2) {
                if (o == 1 && count_to_slot()) added.allele[0][s] += 1.0;
                continue;
            }
            double p0 = 0.0, p1 = 0.0;
            for (std::size_t k = 0; k < plain.sites[v].allele.size(); ++k) {
                const auto& row = plain.M[static_cast<std::size_t>(plain.sites[v].allele[k])];
                const double w = plain.sites[v].product[k] / row[static_cast<std::size_t>(o)];
                p0 += row[0] * w;
                p1 += row[1] * w;
            }
            const double p = p0 + p1 > slow::smallest_normal ? p1 / (p0 + p1) : 0.5;
            if (!no_posterior()) added.genotype[1][s] += p;
            if (count_to_slot()) added.allele[0][s] += p;
        }
        return added;
    }

    slow::haploid_model plain;
    haplotype_classes classes;              // of Panel 0
    std::vector<haploid_request> requests;  // of the last update
};

TEST_F(haploid_updates, of_any_model_follow_their_rules) {
    const std::vector<std::pair<std::size_t, std::size_t>> models{{0, 0}, {1, 0}, {1, 1}, {2, 0}, {2, 1}, {2, 2}};
    int seed = 0;
    for (int repeat = 0; repeat < 8; ++repeat) {
        for (const auto& [panel, cond] : models) {
            run.sites.store.clear();
            run.params = {};
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
            run.plan.hole_fill_to = source.index(2);
            p.mc_impute = source.chance(0.4);
            run.plan.count_missing_only = p.pgs_miss = source.chance(0.3);
            p.weight_panel = source.integer(-1, 1);
            run.plan.output_types[cond] = source.chance(0.7);
            run.plan.sporadic_haploid_imputation = panel == 0;
            std::vector<std::size_t> copied(cond + 1);
            std::iota(copied.begin(), copied.end(), 0);
            const std::size_t K = 1 + source.index(12);
            choose_states(K, copied);
            haploid_update u;
            u.ind = panel == 0 ? hap : ind;
            u.hap = hap;
            u.panel = panel;
            u.cond_panel = cond;
            u.strand = source.index(2);
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
        classes = {};
        work.by_class = {};
        parameters& p = run.params;
        p.include_buffer_in_output = source.chance(0.3);
        p.use_panel1_for_type0_imputation = source.chance(0.4);
        p.mem_save_1 = source.chance(0.2);
        p.weight_panel = source.integer(-1, 1);
        run.plan.output_types[0] = source.chance(0.7);
        haploid_update u;
        u.ind = ind;
        u.hap = hap + source.index(2);
        u.strand = u.hap - hap;
        u.panel = 2;
        u.cond_panel = 0;
        u.sample = source.chance(0.1);
        u.backward = u.allele_probs = true;
        u.selfcheck = source.chance(0.5);
        const std::size_t K = 1 + source.index(60);
        states.clear();
        for (const std::size_t h : choose_ascending(source, K, 0, 60)) states.add(0, h);
        SCOPED_TRACE("seed " + std::to_string(seed));
        expect_update(u, K, seed);
        haploid_problem read;
        read.n_sites = model_of(run.inputs(), u).n_sites();
        read.checkpoint_interval = p.mem_save_1 ? model_of(run.inputs(), u).interval : 0;
        const bool stale = reads_stale_values(read, {u.sample, true, false}, requests);
        EXPECT_EQ(u.sample || stale, work.by_class.blocks.empty());
        if (HasFailure()) return;
    }
}

TEST_F(haploid_updates, add_the_posteriors_of_a_haploid_individual) {
    for (int seed = 1; seed <= 24; ++seed) {
        run.sites.store.clear();
        run.params = {};
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
        u.known_slot = 0;
        u.sample = u.backward = u.genotype_probs = u.stored = true;
        SCOPED_TRACE("seed " + std::to_string(seed));
        expect_update(u, 7, seed);
        if (HasFailure()) return;
    }
}

}  // namespace
