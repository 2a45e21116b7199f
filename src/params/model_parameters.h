#pragma once

#include "params/switch_rates.h"

// Mutation rates, emissions and switch rates of all models, for the numbers of states in use or, if full, for those
// without limits; and the weights of uncertain genotypes at the sites.
void set_model_parameters(run_log& log, const parameters& params, const run_plan& plan, const panel_array& panels,
                          bool full, copying_models& models, site_table& sites);
