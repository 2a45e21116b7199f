#pragma once

// The file "_allele_probs": posterior chances of allele 1 on the haplotypes of the study individuals whose haplotypes
// are known.

#include "output/result_inputs.h"

// (output_allele_probs) No file under -mc_impute or when nobody has known haplotypes.
void write_allele_probabilities(const result_inputs& run);
