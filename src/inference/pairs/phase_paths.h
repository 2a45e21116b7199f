#pragma once

// What a sampled path of pairs of states tells of the phase of heterozygotes.

#include <span>

#include "inference/pairs/pair_types.h"
#include "model/phase_sums.h"

// Chance, given the unordered pairs at two neighbouring sites, that the path goes from the first state of the left one
// to the first state of the right one, and so from the second to the second.
double chance_of_order(const diploid_gap& gap, const state_pair& left, const state_pair& right);

// At a heterozygote: the chance that the haplotype of the first state has allele 1, less that of the other one.
double first_is_one(const pair_problem& problem, std::size_t v, const state_pair& states);

// Adds a walk over unordered pairs to sums with an entry for each heterozygote of the requests. Which of two states is
// whose, and so which allele, is averaged over, given the pairs of the path, in place of drawn (Rao-Blackwell; Gelfand
// and Smith 1990).
void add_phase_agreement(std::span<const pair_request> requests, const pair_results& walk, phase_sums& sums);
