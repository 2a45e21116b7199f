#pragma once

// The concordance tables of the self-check, on terminal and summary file.

#include "output/result_inputs.h"

// (mcmc_accuracy) Nothing under -mc_impute or when no imputed type is asked for.
void print_concordance_tables(const result_inputs& run);
