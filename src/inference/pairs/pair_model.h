#pragma once

// The model of two haplotypes: forward sweep, walk back that samples a path of pairs, backward sweep, posteriors
// (Rabiner 1989).

#include <span>

#include "inference/pairs/pair_types.h"

// Fills the tables. Returns the log10 likelihood of the observations.
double pair_forward(const pair_problem& problem, pair_tables& tables);

// Walks from the last site to the first: at each site the state draws, the allele draw, the backward step, the
// posterior. requests has one entry a visited site.
void pair_walk(const pair_problem& problem, pair_tables& tables, const pair_walk_options& options,
               std::span<const pair_request> requests, pair_results& results);
