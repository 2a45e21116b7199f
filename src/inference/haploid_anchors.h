#pragma once

// The sweeps of one haplotype over observed sites only.

#include <vector>

#include "inference/haploid.h"

double haploid_forward_anchored(const haploid_problem& problem, haploid_tables& tables);
void haploid_walk_anchored(const haploid_problem& problem, haploid_tables& tables, const haploid_walk_options& options,
                           const std::vector<haploid_request>& requests, haploid_results& results);
