#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "inference/model_run.h"
#include "inference/slow_haploid.h"
#include "inference/update/recording.h"
#include "params/switch_rates.h"

namespace {

class hole_filling : public ::testing::Test, protected model_run {
  protected:
    // Random sites of which the filling model visits those of the types from cond_panel to 2.
    void make(int seed, long n_sites, std::size_t panel, std::size_t cond_panel, std::size_t K, double holes) {
        input_source source(static_cast<std::uint64_t>(seed));
        run.plan.n_panels = 3;
        run.plan.fill_holes = true;
        run.plan.hole_fill_to = panel;
        run.plan.hole_fill_from = cond_panel;
        for (long s = 0; s < n_sites; ++s) {
            snp& site = add_site(100 + s, source.index(4));
            site.ref_alleles_missing = source.chance(holes);
        }
        list_sites();
        give_haplotypes({6, 6, 6});
        fill_haplotypes(source);
        set_states(0, panel, cond_panel, K);
        states.clear();
        for (std::size_t k = 0; k < K; ++k) states.add(cond_panel, source.index(6));
        const double mu = 0.02;
        at(run.models.mutation, 0, panel, cond_panel) = {{{1.0 - mu, mu, 1.0, 0.0}, {mu, 1.0 - mu, 1.0, 0.0}, {}}};
        hmm_model& model = at(run.models.hole_chains, 0, panel, cond_panel);
        for (const snp* site : run.sites.in_order) {
            if (site->type < cond_panel || site->type == 3) continue;
            model.site.push_back(site->index);
            model.hap_gap.push_back(make_haploid_gap(random_distance(source), static_cast<int>(K)));
        }
        plain.K = static_cast<int>(K);
        plain.M = {{{1.0 - mu, mu, 1.0}, {mu, 1.0 - mu, 1.0}}};
    }
    // The plain form of the sweep of a haplotype; its alleles after the draws.
    std::vector<int> fill_plainly(std::size_t hap, std::size_t panel, std::size_t cond_panel) {
        const hmm_model& model = at(run.models.hole_chains, 0, panel, cond_panel);
        const packed_haplotypes& own = run.panels[panel].haps;
        plain.sites.clear();
        for (std::size_t v = 0; v < model.n_sites(); ++v) {
            const std::size_t s = model.site[v];
            slow::haploid_site site;
            for (std::size_t k = 0; k < states.size(); ++k) {
                site.allele.push_back(
                    run.panels[states.panel[k]].haps.allele(static_cast<std::size_t>(states.hap[k]), s));
            }
            const bool hole = run.sites.in_order[s]->ref_alleles_missing;
            site.obs = hole ? 2 : own.allele(hap, s);
            site.draw_allele = hole;
            site.stay = model.hap_gap[v].stay;
            site.move = model.hap_gap[v].move;
            site.diff = model.hap_gap[v].diff;
            plain.sites.push_back(site);
        }
        plain.forward();
        plain.walk_in_turns(true, false);
        std::vector<int> alleles;
        for (std::size_t s = 0; s < run.sites.in_order.size(); ++s) alleles.push_back(own.allele(hap, s));
        for (std::size_t v = 0; v < model.n_sites(); ++v) {
            if (plain.sites[v].draw_allele) alleles[model.site[v]] = plain.sites[v].drawn;
        }
        return alleles;
    }
    void fill(std::size_t hap, std::size_t panel, std::size_t cond_panel) {
        const hole_update update{hap, panel, cond_panel};
        update_holes(run.inputs(), update, states, work, result);
        record_holes(run.inputs(), update, result, run.panels[panel]);
    }
    slow::haploid_model plain;
    conditioning_states states;
    sweep_workspace work;
    haploid_result result;
};

TEST_F(hole_filling, draws_all_states_and_then_the_alleles_of_the_holes) {
    int seed = 0;
    for (const auto& [panel, cond_panel] : {std::pair<std::size_t, std::size_t>{0, 1}, {0, 2}, {1, 2}}) {
        for (const double holes : {0.0, 0.3, 1.0}) {
            run.sites.store.clear();
            at(run.models.hole_chains, 0, panel, cond_panel) = {};
            make(++seed, 60, panel, cond_panel, 9, holes);
            plain.stay_count = plain.switch_count = 0;
            std::vector<int> expected;
            double next = 0.0;
            {
                seeded_draws draws(seed);
                expected = fill_plainly(3, panel, cond_panel);
                next = draws.next();
            }
            const panel_array before = run.panels;
            seeded_draws draws(seed);
            fill(3, panel, cond_panel);
            EXPECT_EQ(next, draws.next());
            EXPECT_EQ(static_cast<std::size_t>(plain.stay_count), result.walk.stay_count);
            EXPECT_EQ(static_cast<std::size_t>(plain.switch_count), result.walk.switch_count);
            for (std::size_t p = 0; p < 3; ++p) {
                for (std::size_t h = 0; h < 6; ++h) {
                    const bool filled = p == panel && h == 3;
                    for (std::size_t s = 0; s < run.sites.in_order.size(); ++s) {
                        ASSERT_EQ(filled ? expected[s] : before[p].haps.allele(h, s), run.panels[p].haps.allele(h, s))
                            << "panel " << p << " haplotype " << h << " site " << s;
                    }
                }
            }
        }
    }
}

TEST_F(hole_filling, without_holes_draws_the_states_alone) {
    make(9, 30, 0, 1, 4, 0.0);
    const std::size_t n_visited = at(run.models.hole_chains, 0, 0, 1).n_sites();
    ASSERT_GT(n_visited, 5U);
    double next = 0.0;
    {
        seeded_draws draws(1);
        fill(0, 0, 1);
        next = draws.next();
    }
    seeded_draws draws(1);
    for (std::size_t i = 0; i < n_visited; ++i) draws.next();
    EXPECT_EQ(draws.next(), next);
}

TEST_F(hole_filling, keeps_every_vector_under_memory_saving) {
    make(10, 60, 0, 1, 5, 0.5);
    run.params.mem_save_1 = true;
    hmm_model& model = at(run.models.hole_chains, 0, 0, 1);
    model.interval = 3;
    std::vector<int> expected;
    {
        seeded_draws draws(4);
        expected = fill_plainly(2, 0, 1);
    }
    seeded_draws draws(4);
    fill(2, 0, 1);
    for (std::size_t s = 0; s < run.sites.in_order.size(); ++s) EXPECT_EQ(expected[s], run.panels[0].haps.allele(2, s));
}

}  // namespace
