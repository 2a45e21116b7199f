#pragma once

// The haploid sweeps under memory saving: forward vectors are kept at checkpoints and rebuilt block by block.

#include "inference/haploid/haploid_model.h"

double haploid_forward_kept(const haploid_problem& problem, haploid_tables& tables);

void haploid_walk_kept(const haploid_problem& problem, haploid_tables& tables, const haploid_walk_options& options,
                       const std::vector<haploid_request>& requests, haploid_results& results);
