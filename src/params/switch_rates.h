#pragma once

// Transitions of the copying model (Li and Stephens 2003): how likely a haplotype is to go on copying another one over
// the gap from site to site.

#include "io/run_log.h"
#include "model/copying_models.h"
#include "model/panel.h"
#include "model/parameters.h"
#include "model/run_plan.h"
#include "model/site_table.h"
#include "model/transition.h"

// Transition terms over a gap of d (in units of 4 Ne Morgans) among K haplotypes.
haploid_gap make_haploid_gap(double d, int K);
diploid_gap make_diploid_gap(double d, int K);

// What the gaps are made from.
struct rate_inputs {
    const parameters& params;
    const run_plan& plan;
    const panel_array& panels;
    const site_table& sites;
};

// (data::set_switch_rates) Fills the gaps of all models, for the numbers of states in use or, if full, for those
// without limits. Says so in the log; warns of sites that the map puts in the wrong order.
void set_switch_rates(run_log& log, const rate_inputs& inputs, bool full, copying_models& models);

// The same for the models of hole filling: that of the panel to be filled, without its holes, and that of the panel
// which fills it.
void set_switch_rates_for_hole_filling(run_log& log, const rate_inputs& inputs, bool full, copying_models& models);
