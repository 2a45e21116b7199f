#pragma once

// Room for the sums over the stored iterations.

#include "model/accumulators.h"
#include "model/panel.h"
#include "model/parameters.h"
#include "model/run_plan.h"
#include "model/site_table.h"

// Allocates the sums that the run's results need, at the sites that they need. Throws run_fault where files are to hold
// them and have no room.
void allocate_results(const parameters& params, const run_plan& plan, const panel_array& panels,
                      const site_table& sites, std::pair<long, long> interval, accumulators& acc);

// About as many bytes as this takes, before anything is allocated.
struct result_bytes {
    std::size_t memory = 0;
    std::size_t files = 0;  // under -mem_save_3, in temporary_directory()
};
// For a plan whose iterations are listed.
result_bytes bytes_of_results(const parameters& params, const run_plan& plan, const panel_array& panels,
                              const site_table& sites, std::pair<long, long> interval);
