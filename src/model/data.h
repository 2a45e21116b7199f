#pragma once

// The run: everything that its phases share, in rooms. A function takes the rooms that it needs; only the driver and
// the passes see the whole.

#include <iosfwd>

#include "io/run_log.h"
#include "model/accumulators.h"
#include "model/copying_models.h"
#include "model/genetic_map.h"
#include "model/panel.h"
#include "model/parameters.h"
#include "model/run_plan.h"
#include "model/site_table.h"
#include "threads/worker_pool.h"

struct data {
    // terminal: standard output; notes: standard error.
    data(std::ostream& terminal, std::ostream& notes) : log(terminal, notes) {}
    data(const data&) = delete;
    data& operator=(const data&) = delete;

    parameters params;  // what the user said; completed by process_input, and then as it is
    run_log log;
    run_plan plan;  // fixed before the first iteration
    site_table sites;
    panel_array panels;
    genetic_map map;
    copying_models models;
    accumulators acc;
    worker_pool workers;  // of one, until the driver starts more
};
