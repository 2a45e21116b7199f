#pragma once

// Where sweeps keep their forward values under -mem_save_1.

#include "io/run_log.h"
#include "model/copying_models.h"
#include "model/panel.h"
#include "model/parameters.h"
#include "model/run_plan.h"
#include "reconcile/stages.h"

// Sets the checkpoints (fwd_checkpoint) of the models that the run uses: every interval-th site from the last one on,
// interval being the root of the number of sites of the model's types in the data summary. Ends the run when such a
// number is 0 for all models of a kind.
void plan_checkpoints(run_log& log, const parameters& params, const run_plan& plan, const panel_array& panels,
                      const type_counts& n_of_type, copying_models& models);
