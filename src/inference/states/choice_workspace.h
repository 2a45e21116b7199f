#pragma once

// Working storage of the choice of states, reused for every update.

#include <array>
#include <cstdint>
#include <vector>

#include "inference/states/distance_rows.h"
#include "inference/states/local_matches.h"

struct choice_workspace {
    std::array<std::array<distance_rows, 3>, 3> distances;   // [panel][cond_panel]
    distance_rows distances_without_holes;                   // of the panel whose holes are filled
    std::array<std::vector<int>, 3> ham_dist_a, ham_dist_b;  // by panel, mismatches with the target's haplotypes
    std::array<local_matches, 3> matches;                    // by panel that is updated
    std::vector<matched_haplotype> matched;
    std::vector<int> figures;  // by candidate
    std::vector<double> matrix_figures;
    std::vector<std::uint8_t> keep;  // by candidate, 0 or 1
};
