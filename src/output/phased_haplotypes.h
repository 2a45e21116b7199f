#pragma once

// The file "_haps" of -phase: two alleles per study individual, as consensus phasing left them.

#include <cstddef>
#include <vector>

#include "output/result_inputs.h"

// The sites of the files "_haps" and "_haps_confidence".
std::vector<std::size_t> haplotype_sites(const result_inputs& run);

// (output_phased_haps) A site outside the models has the input genotypes, marked as unphased.
void write_phased_haplotypes(const result_inputs& run);
