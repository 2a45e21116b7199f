#pragma once

// The two intervals of base pairs, both ends included, that results cover.

#include <utility>

#include "model/parameters.h"
#include "model/run_plan.h"

// Main output, quality and count files.
std::pair<long, long> output_interval(const parameters& params, const run_plan& plan);
// Sums, and the files of haplotypes: with the buffer also under -include_buffer_in_output_haps_only.
std::pair<long, long> haps_interval(const parameters& params, const run_plan& plan);
