#pragma once

// The file "_haps_confidence" of -phase: how sure the phase of each heterozygote is relative to the one before.

#include "output/consensus_phasing.h"

// (output_pairwise_certainties) No file without -phase or when everybody has known haplotypes.
void write_phase_confidence(const result_inputs& run, const phase_confidences& confidences);
