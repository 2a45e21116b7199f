#pragma once

// One best pair of haplotypes per study individual, from the stored iterations. It takes the place of the current
// alleles of the study; phased_haplotypes.h and phase_confidence.h write it.

#include <cstddef>
#include <span>
#include <vector>

#include "output/genotype_triple.h"
#include "output/result_inputs.h"

// (pairwise_certainty) [site][slot]: the share of iterations that agree with the phase of a heterozygote relative to
// the one before; no_phase_call at a homozygote. slot: rank among the individuals without known haplotypes. Empty at
// sites that are not phased.
using phase_confidences = std::vector<std::vector<double>>;
constexpr double no_phase_call = -1.0;

// For individuals with known haplotypes, whose phase sets the frame; nothing when there are none. haps: the alleles of
// the study, set here; samples: the store of sampled alleles, filled from the temporary files where it is kept in
// those. Ends the run at a triple that is none, as phase_pairwise does.
void phase_fixed(const result_inputs& run, packed_haplotypes& haps, sample_bits& samples);

// For the others: each heterozygote takes the phase relative to the one before that most iterations have; or, where
// sums of what the paths tell are at hand (phase_sums.h), that which agrees best with the two before. Empty when there
// are none.
phase_confidences phase_pairwise(const result_inputs& run, packed_haplotypes& haps, sample_bits& samples);

// Index of the largest value; values that tie within 1e-10 are drawn from with equal chance, by one uniform draw. A
// zero ties with the start, so that all zeros tie. The last index when there are negative values only.
std::size_t which_max_idx(std::span<const double> probs);

// Ends the run if a triple does not sum to 1 or, in the form for known haplotypes, has a haploid heterozygote.
void check_phasing_probs(run_log& log, const genotype_triple& probs, std::size_t individual, long position,
                         bool known_haps, bool haploid);
