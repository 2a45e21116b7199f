#pragma once

// The main result in VCF or BCF, when the -o name asks for it, with its index.

#include "output/consensus_phasing.h"
#include "output/result_inputs.h"

// Ends the run, before it iterates, where its sites or samples cannot stand in the file; says on standard error when
// the chromosome has no name. Nothing when the output is text.
void check_variant_output(const result_inputs& run);

// Block by block of sites. confidences: of estimated phases; empty without. Nothing in a run that imputes missing
// alleles of Panel 0 alone.
void write_variant_output(const result_inputs& run, const phase_confidences& confidences);
