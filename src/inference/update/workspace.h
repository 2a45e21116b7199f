#pragma once

// Working tables of the sweeps, reused for every update.

#include <array>
#include <cstdint>
#include <vector>

#include "inference/haploid/haploid_class_sweep.h"
#include "inference/haploid/haploid_model.h"
#include "inference/haploid/haplotype_classes.h"
#include "inference/pairs/pair_model.h"

struct sweep_workspace {
    std::vector<std::uint8_t> observed;                  // by visited site
    std::vector<std::uint64_t> state_alleles;            // [visited site][words]
    std::array<haplotype_classes, 3> reference_classes;  // of Panel 0, by the panel that is updated
    haploid_tables haploid;
    haploid_class_tables by_class;
    pair_tables pairs;
};
