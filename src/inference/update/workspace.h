#pragma once

// Working storage of the sweeps, reused for every update.

#include <array>
#include <cstdint>
#include <vector>

#include "inference/haploid/haploid_class_sweep.h"
#include "inference/haploid/haploid_model.h"
#include "inference/pairs/pair_model.h"
#include "inference/states/distance_rows.h"

struct sweep_workspace {
    // The update in hand.
    std::vector<std::uint8_t> observed;
    std::vector<std::uint64_t> state_alleles;           // [visited site][words]
    std::vector<std::array<double, 4>> pair_emissions;  // [visited site]
    haploid_tables haploid;
    std::array<haplotype_classes, 3> reference_classes;  // of Panel 0, by the panel that is updated
    haploid_class_tables by_class;
    pair_tables pairs;
    std::vector<haploid_request> haploid_requests;
    std::vector<pair_request> pair_requests;
    haploid_results haploid_out;
    pair_results pairs_out;

    // Posterior chance of allele 1 by site for the two haplotypes of the individual in hand (allele_prob), and with the
    // site's own observation left out, by conditioning panel (allele_acc).
    std::array<std::vector<double>, 2> allele_prob;
    std::array<std::array<std::vector<double>, 2>, 2> allele_acc;

    // Choice of conditioning states.
    std::array<std::array<distance_rows, 3>, 3> distances;   // [panel][cond_panel]
    std::array<std::vector<int>, 3> ham_dist_a, ham_dist_b;  // by panel, mismatches with the target's haplotypes
    std::vector<int> figures;                                // by candidate
    std::vector<double> matrix_figures;
    std::vector<std::uint8_t> keep;  // by candidate, 0 or 1
};
