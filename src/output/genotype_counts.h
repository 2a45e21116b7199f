#pragma once

// The files "_gtcounts_iter" and "_gtcounts_wt_iter": what the stored iterations so far have counted or summed of the
// three genotypes, a file an iteration.

#include <cstddef>

#include "output/result_inputs.h"

// iter counts from 0; count: stored iterations so far, this one included.
// (output_current_gtype_counts) Tallies of sampled genotypes; zeros without -mc_impute.
void write_genotype_counts(const result_inputs& run, int iter, std::size_t count);
// (output_current_gtype_counts_wt) Sums of posterior chances.
void write_genotype_sums(const result_inputs& run, int iter, std::size_t count);
