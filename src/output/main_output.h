#pragma once

// The main result, named by -o: three genotype probabilities per study individual, in the layout of a genotype file.

#include <cstddef>
#include <span>

#include "output/genotype_triple.h"
#include "output/posterior_genotypes.h"
#include "output/result_inputs.h"

// (output_mcmc) Nothing in a run that imputes missing alleles of Panel 0 alone.
void write_main_output(const result_inputs& run);

// (check_genotype_probs) Whether a triple sums to 1 as it is printed, give or take what the digit 0 may hide. A value
// below low prints as 0, one above high as 1.
bool prints_as_one(const genotype_triple& probs, double low, double high);

// Throws a run_fault at a triple of site s that was computed and does not sum to 1. triples: by study individual, of a
// source; low: the smallest value that is printed.
void check_sums(const result_inputs& run, std::size_t s, triple_source source, std::span<const genotype_triple> triples,
                double low);
