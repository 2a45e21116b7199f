#pragma once

// The rooms of a run made by hand, as far as the models need them: panels of haplotypes, sites, state counts.

#include <array>
#include <cstddef>
#include <vector>

#include "inference/inference_inputs.h"
#include "inference/inference_tools.h"
#include "model/accumulators.h"
#include "support/log_capture.h"

struct model_rooms {
    run_log log;
    parameters params;
    run_plan plan;
    site_table sites;
    panel_array panels;
    copying_models models;
    accumulators acc;

    // The sites of the interval count, with its buffer where that is put out.
    inference_inputs inputs() const {
        const auto [first, end] =
            sites.range(params.include_buffer_in_output ? std::pair(plan.buffer_lower, plan.buffer_upper)
                                                        : std::pair(plan.int_lower_bp, plan.int_upper_bp));
        return {params, plan, sites, panels, models, first, end};
    }
};

class model_run {
  public:
    log_capture capture;
    model_rooms run{run_log(capture.terminal, capture.notes), {}, {}, {}, {}, {}, {}};

    snp& add_site(long position, std::size_t type, std::size_t top_panel) {
        snp& site = run.sites.store.emplace(position, snp{})->second;
        site.type = type;
        site.top_panel = top_panel;
        return site;
    }
    snp& add_site(long position, std::size_t type) { return add_site(position, type, type); }

    // Lists the sites in order, as they stand.
    void list_sites() {
        run.sites.in_order.clear();
        run.sites.positions.clear();
        run.sites.traits.clear();
        for (auto& [position, site] : run.sites.store) {
            site.index = run.sites.in_order.size();
            run.sites.in_order.push_back(&site);
            run.sites.positions.push_back(position);
            run.sites.traits.push_back({static_cast<std::uint8_t>(site.type), static_cast<std::uint8_t>(site.top_panel),
                                        site.panel1_placeholder, site.ref_alleles_missing});
        }
    }
    // Haplotype counts of the panels; individuals have two each.
    void give_haplotypes(std::array<std::size_t, 3> counts) {
        for (std::size_t p = 0; p < 3; ++p) {
            run.panels[p].n_hap = counts[p];
            run.panels[p].n_ind = p == 0 ? 0 : counts[p] / 2;
            run.panels[p].haps = packed_haplotypes(counts[p], run.sites.size());
            for (std::size_t s = 0; s < run.sites.size(); ++s) run.panels[p].haps.set_holds(s);
        }
        run.plan.n_study = run.panels[2].n_ind;
        run.panels[2].ordered.assign(run.panels[2].n_ind, false);
    }
    void fill_haplotypes(input_source& source) {
        for (panel_data& data_of_panel : run.panels) {
            packed_haplotypes& panel = data_of_panel.haps;
            for (std::size_t h = 0; h < panel.n_hap(); ++h) {
                for (std::size_t s = 0; s < panel.n_sites(); ++s) panel.set(h, s, source.integer(0, 1));
            }
        }
    }
    void set_states(std::size_t mode, std::size_t panel, std::size_t cond_panel, std::size_t K) {
        run.models.k_states[mode][panel][cond_panel] = static_cast<int>(K);
    }
    template <typename T>
    static T& at(model_table<T>& table, std::size_t mode, std::size_t panel, std::size_t cond_panel) {
        return table[mode][panel][cond_panel];
    }
};
