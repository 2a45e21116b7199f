#pragma once

// Working tables of the sweeps, reused for every update; each thread has its own.

#include <cstdint>
#include <vector>

#include "inference/haploid/haploid_class_sweep.h"
#include "inference/haploid/haploid_model.h"
#include "inference/pairs/pair_model.h"

struct sweep_workspace {
    std::vector<std::uint8_t> observed;        // by visited site
    std::vector<std::uint64_t> state_alleles;  // [visited site][words]
    haploid_tables haploid;
    haploid_class_tables by_class;
    pair_tables pairs;
};
