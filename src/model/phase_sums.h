#pragma once

// How the heterozygotes of an individual stand to those before them, summed over iterations.

#include <cstddef>
#include <vector>

// By heterozygote in order: the chance that the first haplotype has the same allele as at the heterozygote before, less
// the chance that it has the other one, added up over sampled paths; and likewise with the heterozygote before that. 0
// where there is none. All empty for an individual of whom nothing was summed.
struct phase_sums {
    std::vector<std::size_t> site;  // indices in the store, ascending
    std::vector<double> with_previous, with_second;
    std::size_t n_paths = 0;
};
