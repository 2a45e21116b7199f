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

// Of the same individual; to may have none.
inline void add_sums(const phase_sums& from, phase_sums& to) {
    if (to.site.empty()) {
        to = from;
        return;
    }
    for (std::size_t i = 0; i < from.site.size(); ++i) {
        to.with_previous[i] += from.with_previous[i];
        to.with_second[i] += from.with_second[i];
    }
    to.n_paths += from.n_paths;
}

// How a heterozygote stands to the two before it, whose first alleles are given as 1 for allele 1, -1 for allele 0 and
// 0 where there is none: as chances less the chances of the opposite.
struct phase_lead {
    double with_previous = 0.0, with_second = 0.0;
    // Both decide: the second one carries the phase over a site that has none to tell, such as a wrong genotype.
    bool first_is_one() const { return with_previous + with_second >= 0.0; }
};
inline phase_lead lead_of(const phase_sums& sums, std::size_t het, double last, double before) {
    const auto n = static_cast<double>(sums.n_paths);
    return {sums.with_previous[het] / n * last, sums.with_second[het] / n * before};
}
