#pragma once

// Results of an earlier run, under the names of this one.

#include "model/parameters.h"
#include "model/run_plan.h"

class run_log;

// For a run that ends well without results: removes the files that would pass for its own, and names them on standard
// error. Devices and pipes are left alone. For settings that process_input has completed.
void remove_older_results(run_log& log, const parameters& params, const run_plan& plan);
