#pragma once

// Pieces of consensus phasing that stand on their own.

#include <cstddef>
#include <span>

#include "output/output_common.h"

class run_log;

// Index of the largest value; values that tie within 1e-10 are drawn from with equal chance, by one uniform draw. A
// zero ties with the start, so that all zeros tie. The last index when there are negative values only.
std::size_t which_max_idx(std::span<const double> probs);

// Ends the run if a triple does not sum to 1 or, in the form for known haplotypes, has a haploid heterozygote.
void check_phasing_probs(run_log& log, const genotype_triple& probs, std::size_t individual, long position,
                         bool known_haps, bool haploid);
