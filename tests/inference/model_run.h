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
        snp& site = run.sites.store.emplace(position, snp{})->second;
        site.type = type;
        site.top_panel = top_panel;
        return site;
    }
    snp& add_site(long position, int type) { return add_site(position, type, type); }

    // Lists the sites in order, as they stand.
    void list_sites() {
        run.sites.in_order.clear();
        run.sites.positions.clear();
        run.sites.traits.clear();
        for (auto& [position, site] : run.sites.store) {
            site.index = static_cast<int>(run.sites.in_order.size());
            run.sites.in_order.push_back(&site);
            run.sites.positions.push_back(position);
            run.sites.traits.push_back({static_cast<std::int8_t>(site.type), static_cast<std::int8_t>(site.top_panel),
                                        site.panel1_placeholder, site.ref_alleles_missing});
        }
    }
    // Haplotype counts of the panels; individuals have two each.
    void give_haplotypes(std::array<int, 3> counts) {
        for (std::size_t p = 0; p < 3; ++p) {
            run.panels[p].n_hap = static_cast<std::size_t>(counts[p]);
            run.panels[p].n_ind = p == 0 ? 0 : static_cast<std::size_t>(counts[p]) / 2;
        }
        run.params.nind = static_cast<int>(run.panels[2].n_ind);
        for (std::size_t p = 0; p < 3; ++p) {
            run.panels[p].haps = packed_haplotypes(static_cast<std::size_t>(counts[p]), run.sites.in_order.size());
            for (std::size_t s = 0; s < run.sites.in_order.size(); ++s) run.panels[p].haps.set_holds(s);
        }
        run.panels[2].ordered.assign(static_cast<std::size_t>(run.panels[2].n_ind), false);
    }
    void fill_haplotypes(input_source& source) {
        for (panel_data& data_of_panel : run.panels) {
            packed_haplotypes& panel = data_of_panel.haps;
            for (std::size_t h = 0; h < panel.n_hap(); ++h) {
                for (std::size_t s = 0; s < panel.n_sites(); ++s) panel.set(h, s, source.integer(0, 1));
            }
        }
    }
    void set_states(int mode, int panel, int cond_panel, int K) {
        at(run.models.k_states, mode, panel, cond_panel) = K;
    }
    template <typename T>
    static T& at(model_table<T>& table, int mode, int panel, int cond_panel) {
        return table[static_cast<std::size_t>(mode)][static_cast<std::size_t>(panel)]
                    [static_cast<std::size_t>(cond_panel)];
    }
};
