#pragma once

// What the choice of states and the updates read of a run.

#include <algorithm>
#include <cstddef>

#include "model/copying_models.h"
#include "model/panel.h"
#include "model/parameters.h"
#include "model/run_plan.h"
#include "model/site_table.h"

// Nothing of it changes while an update is computed; what an update found is recorded afterwards.
struct inference_inputs {
    const parameters& params;
    const run_plan& plan;
    const site_table& sites;
    const panel_array& panels;
    const copying_models& models;
    // The sites whose results count: first_kept <= s < end_kept.
    std::size_t first_kept = 0, end_kept = 0;

    bool keeps(std::size_t s) const { return s >= first_kept && s < end_kept; }
    // (k_states) K of a model.
    std::size_t n_states(std::size_t mode, std::size_t panel, std::size_t cond_panel) const {
        return static_cast<std::size_t>(std::max(models.k_states[mode][panel][cond_panel], 0));
    }
    const site_traits& traits(std::size_t s) const { return sites.traits[s]; }
    const snp& site(std::size_t s) const { return *sites.in_order[s]; }
};
