#pragma once

// The file named by -i with "_by_sample" behind it: agreement with the typed genotypes, a line per study individual.

#include "output/result_inputs.h"

// (mcmc_info_by_sample) No file under -mc_impute.
void write_info_by_sample(const result_inputs& run);
