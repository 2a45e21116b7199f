#pragma once

// A run with sites of all kinds, and the rules of an update written out beside it.

#include <gtest/gtest.h>

#include <array>
#include <utility>
#include <vector>

#include "inference/model_run.h"
#include "inference/update/update.h"

class update_fixture : public ::testing::Test, protected model_run {
  protected:
    static constexpr std::size_t n_sites = 45;
    static constexpr std::size_t ind = 1, hap = 2;  // the individual in hand and its first haplotype

    void make(std::uint64_t seed) {
        source = input_source(seed);
        run.plan.n_panels = 3;
        run.plan.int_lower_bp = 105;
        run.plan.int_upper_bp = 140;
        run.plan.buffer_lower = 100;
        run.plan.buffer_upper = 160;
        run.plan.output_types = {true, true, true, true};
        const std::vector<std::pair<std::size_t, std::size_t>> kinds{{0, 0}, {0, 1}, {1, 1}, {1, 2},
                                                                     {2, 2}, {2, 2}, {2, 2}, {3, 3}};
        for (std::size_t s = 0; s < n_sites; ++s) {
            const auto [type, top] = kinds[source.index(8)];
            snp& site = add_site(100 + static_cast<long>(s), type, top);
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
        const std::vector<int> columns = column_a_site(n_sites);
        for (std::size_t g = 0; g < 2; ++g) {
            run.acc.gtype_acc[g].allocate(4, columns, n_sites);
            run.acc.gtype_acc2[g].allocate(1, columns, n_sites);
        }
        run.acc.last_sampled_gtype.assign(n_sites, 0);
        run.acc.tallies.assign(n_sites, {});
        for (sample_tally& tally : run.acc.tallies)
            tally.miss_counts = {std::vector<int>(3, 0), std::vector<int>(3, 0)};
    }
    void choose_states(std::size_t K, const std::vector<std::size_t>& panels) {
        states.clear();
        for (std::size_t k = 0; k < K; ++k) states.add(panels[source.index(panels.size())], 4 + source.index(4));
    }
    bool in_output(std::size_t s) const {
        return run.params.include_buffer_in_output || (run.sites.positions[s] >= 105 && run.sites.positions[s] <= 140);
    }
    std::vector<int> state_alleles(std::size_t s) const {
        std::vector<int> alleles;
        for (std::size_t k = 0; k < states.size(); ++k) {
            alleles.push_back(run.panels[states.panel[k]].haps.allele(static_cast<std::size_t>(states.hap[k]), s));
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
    void expect_haplotypes(std::size_t panel, const packed_haplotypes& expected) {
        for (std::size_t h = 0; h < 8; ++h) {
            for (std::size_t s = 0; s < n_sites; ++s) {
                ASSERT_EQ(expected.allele(h, s), run.panels[panel].haps.allele(h, s))
                    << "haplotype " << h << " site " << s;
            }
        }
    }

    input_source source{1};
    conditioning_states states;
    sweep_workspace work;
};
