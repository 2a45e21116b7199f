#pragma once

// The file named by -i (the -o name and "_info"): the quality of each site that is written.

#include "output/result_inputs.h"

// (mcmc_info)
void write_info(const result_inputs& run);
