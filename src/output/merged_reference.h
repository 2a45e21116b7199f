#pragma once

// One reference panel made of two, from the haplotypes as the last iteration left them.

#include "output/result_inputs.h"

// (output_merged_ref) The files ".hap" and ".legend" of -merge_ref_panels_output_ref.
void write_merged_haplotypes(const result_inputs& run);
// (output_merged_gen) The file ".gen" of -merge_ref_panels_output_gen; none, but a warning, when Panel 0 has an odd
// number of haplotypes.
void write_merged_genotypes(const result_inputs& run);
