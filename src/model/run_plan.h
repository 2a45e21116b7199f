#pragma once

// What follows from the options and from the data before the first iteration: the region, the list of iterations, and
// what kinds of results the run makes.

#include <array>
#include <cstddef>
#include <optional>
#include <vector>

#include "model/variant_fields.h"

struct run_plan {
    // --- region, base pairs, both ends included ---
    long buffer_lower = -1, buffer_upper = -1;  // the analysis interval with its buffer
    long int_lower_bp = -1, int_upper_bp = -1;  // the interval itself
    std::vector<long> intermed_posns;           // positions of -intermed_posns, empty without

    // --- iterations, counted from 0 ---
    int n_iterations = 0;                    // of -iter, 1 where nobody needs sampling
    int burnin = 0;                          // of -burnin, likewise 0
    std::vector<int> stored_iters;           // whose results count
    std::vector<int> selfcheck_iters;        // those of them that mask typed genotypes
    std::optional<int> informed_start_iter;  // first one with informed states; none under -random_cond

    // --- panels and sites ---
    std::size_t n_study = 0;  // (params.nind) study individuals that are analysed: the first ones under -nind
    bool fill_holes = false;  // -fill_holes, and there is something to fill
    bool has_reference = false;
    std::size_t n_panels = 4;   // 3 with a reference panel, 4 without; a site of this type takes no part in the models
    bool chrx_haploid = false;  // males are haploid
    bool chrx_diploid = false;  // everybody is diploid, as -prob_g wants it
    std::array<bool, 4> output_types{};                       // by SNP type
    std::optional<std::size_t> hole_fill_from, hole_fill_to;  // panels; none for no hole filling

    // --- results ---
    std::optional<variant_fields> variants;  // the main output is VCF or BCF, with these fields
    bool known_hap_dosages = false;          // it needs allele sums of known haplotypes at imputed sites
    bool store_sampled_haps = false;
    bool tmp_haps = false;
    bool count_missing_only = false;  // -pgs_miss: of typed genotypes only the missing ones get posteriors, or tallies
    bool sporadic_haploid_imputation = false;
    bool phases_once_more = false;  // -final_states, and iterations tell the phase
};
