#pragma once

// What the log says of a run before its iterations.

#include "io/run_log.h"
#include "model/copying_models.h"
#include "model/panel.h"
#include "model/parameters.h"
#include "model/run_plan.h"

// (data::print_nomenclature) Which data are Panel 0, 1 and 2.
void print_nomenclature(run_log& log, const parameters& params);
// (data::print_files) The names of the input and output files.
void print_files(run_log& log, const parameters& params);
// (data::print_params) Numbers of people, iterations and states.
void print_params(run_log& log, const parameters& params, const run_plan& plan, const panel_array& panels,
                  const copying_models& models);
