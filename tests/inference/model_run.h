#pragma once

// A run made by hand, as far as the models need it: panels of haplotypes, sites, state counts.

#include <array>
#include <cstddef>
#include <vector>

#include "inference/inference_tools.h"
#include "model/data.h"
#include "support/log_capture.h"

class model_run {
  public:
    log_capture capture;
    data run{capture.terminal, capture.notes};

    snp& add_site(long position, int type, int top_panel) {
        snp& site = run.snps.emplace(position, snp{})->second;
        site.type = type;
        site.top_panel = top_panel;
        return site;
    }
    snp& add_site(long position, int type) { return add_site(position, type, type); }

    // Lists the sites in order, as they stand.
    void list_sites() {
        run.sites.clear();
        run.positions.clear();
        run.traits.clear();
        for (auto& [position, site] : run.snps) {
            site.index = static_cast<int>(run.sites.size());
            run.sites.push_back(&site);
            run.positions.push_back(position);
            run.traits.push_back({static_cast<std::int8_t>(site.type), static_cast<std::int8_t>(site.top_panel),
                                  site.panel1_placeholder, site.ref_alleles_missing});
        }
    }
    // Haplotype counts of the panels; individuals have two each.
    void give_haplotypes(std::array<int, 3> counts) {
        run.n_hap = counts;
        run.n_ind = {0, counts[1] / 2, counts[2] / 2};
        run.params.nind = run.n_ind[2];
        for (std::size_t p = 0; p < 3; ++p) {
            run.haps[p] = packed_haplotypes(static_cast<std::size_t>(counts[p]), run.sites.size());
            for (std::size_t s = 0; s < run.sites.size(); ++s) run.haps[p].set_holds(s);
        }
        run.has_known_haps.assign(static_cast<std::size_t>(run.n_ind[2]), false);
    }
    void fill_haplotypes(input_source& source) {
        for (packed_haplotypes& panel : run.haps) {
            for (std::size_t h = 0; h < panel.n_hap(); ++h) {
                for (std::size_t s = 0; s < panel.n_sites(); ++s) panel.set(h, s, source.integer(0, 1));
            }
        }
    }
    void set_states(int mode, int panel, int cond_panel, int K) { at(run.k_states, mode, panel, cond_panel) = K; }
    template <typename T>
    static T& at(model_table<T>& table, int mode, int panel, int cond_panel) {
        return table[static_cast<std::size_t>(mode)][static_cast<std::size_t>(panel)]
                    [static_cast<std::size_t>(cond_panel)];
    }
};
