#pragma once

#include "io/run_log.h"
#include "model/panel.h"
#include "model/parameters.h"
#include "model/run_plan.h"

// Checks the settings against each other, in the order of the messages, and completes them: from here on they do not
// change. Fills what follows from them alone in the plan and in the panels. Ends the run when settings exclude each
// other.
void process_input(run_log& log, parameters& params, run_plan& plan, panel_array& panels);
