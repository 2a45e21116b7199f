#pragma once

// Whether two panels report the alleles of a site on different strands.

#include "model/snp.h"

enum class strand_check {
    no_flip,
    mismatch,   // the labels only agree when one panel is flipped
    frequency,  // the labels cannot tell, and the frequencies speak for a flip
};

// Tests the tested panel against the reference; all four labels are known. Frequencies are asked only at A/T and C/G
// sites, only under by_frequency and only when the tested panel came without a strand.
strand_check check_strand(const panel_labels& tested, const panel_labels& reference, bool by_frequency);
