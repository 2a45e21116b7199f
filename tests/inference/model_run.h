#pragma once

// The rooms of a run made by hand, as far as the models need them: panels of haplotypes, sites, state counts.

#include <array>
#include <cstddef>
#include <vector>

#include "inference/inference_inputs.h"
#include "inference/inference_tools.h"
#include "model/accumulators.h"
#include "support/log_capture.h"
#include "support/run_builder.h"

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
        snp& site = ::add_site(run.sites, position, type);
        site.top_panel = top_panel;
        return site;
    }
    snp& add_site(long position, std::size_t type) { return add_site(position, type, type); }

    void list_sites() { ::list_sites(run.sites); }
    // Haplotype counts of the panels; individuals have two each.
    void give_haplotypes(std::array<std::size_t, 3> counts) {
        set_haplotypes(run.panels, counts);
        set_individuals(run.panels, {0, counts[1] / 2, counts[2] / 2});
        for (panel_data& panel : run.panels) {
            make_room(panel, run.sites.size());
            hold_all_sites(panel.haps);
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
