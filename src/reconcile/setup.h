#pragma once

// (data::setup) What stands between reading and the first iteration.

#include "io/run_log.h"
#include "model/accumulators.h"
#include "model/copying_models.h"
#include "reconcile/stages.h"

// First: turns what the readers left in the store into one consistent site list with a plan of updates and with
// haplotypes. Returns the number of sites by type.
type_counts setup_panels(run_log& log, const parameters& params, run_plan& plan, panel_array& panels,
                         site_table& sites);

// Then: the plan of iterations, the models and the space for results. n_of_type: what the first step returned.
void setup_models(run_log& log, const parameters& params, const type_counts& n_of_type, run_plan& plan,
                  const panel_array& panels, site_table& sites, copying_models& models, accumulators& acc);
