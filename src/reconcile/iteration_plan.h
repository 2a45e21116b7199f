#pragma once

// Which iterations count, mask typed genotypes, and choose their states by similarity.

#include "model/parameters.h"
#include "model/run_plan.h"

// Fills stored_iters, selfcheck_iters and informed_start_iter; phases_once_more.
void plan_iterations(const parameters& params, run_plan& plan);
