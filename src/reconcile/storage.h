#pragma once

#include "io/run_log.h"
#include "model/accumulators.h"
#include "model/copying_models.h"
#include "reconcile/stages.h"

// Fixes the iteration lists, builds the site lists of the models, and allocates the sums. n_of_type: of the data
// summary. Ends the run when -nind asks for more individuals than there are, when memory saving has no sites to work
// on, or when the -intermed_posns file cannot be read.
void setup_storage(run_log& log, const parameters& params, const type_counts& n_of_type, run_plan& plan,
                   const panel_array& panels, site_table& sites, copying_models& models, accumulators& acc);
