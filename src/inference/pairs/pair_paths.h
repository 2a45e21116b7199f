#pragma once

// Paths of unordered pairs of states, sampled from the forward tables of a sweep with no other table than these.

#include <span>

#include "inference/pairs/pair_types.h"
#include "random/random.h"

// Samples a path from the tables of pair_forward over unordered pairs of at least one state, without memory saving.
// They are left as they are, so that any number of paths can follow. Fills of the results the states, the larger one
// first at each site, and order_kept and first_is_one of this order. The chances are those of pair_walk; the draws,
// from the generator that is given, are others.
void draw_pair_path(const pair_problem& problem, pair_tables& tables, std::span<const pair_request> requests,
                    Random& draws, pair_results& results);
