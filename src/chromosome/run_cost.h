#pragma once

// What a run of one chunk is expected to cost with default settings on one core.

#include <cstddef>

struct run_size {
    std::size_t haplotypes = 0;  // of the panel
    std::size_t sites = 0;       // of the panel
    std::size_t typed = 0;
    std::size_t people = 0;
};

struct run_cost {
    double seconds;
    double megabytes;  // peak
};

// A run with -phase or -prephase_g.
run_cost phasing_cost(const run_size& size);
// A run on known haplotypes, with -use_prephased_g.
run_cost imputation_cost(const run_size& size);
