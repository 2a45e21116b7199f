#pragma once

// What a sampled path of pairs of states tells of the phase of heterozygotes.

#include <span>

#include "inference/pairs/pair_types.h"
#include "model/phase_sums.h"

// Adds a walk over unordered pairs to sums with an entry for each heterozygote of the requests. Which of two states is
// whose, and so which allele, is averaged over, given the pairs of the path, in place of drawn (Rao-Blackwell; Gelfand
// and Smith 1990).
void add_phase_agreement(std::span<const pair_request> requests, const pair_results& walk, phase_sums& sums);
