#pragma once

// The copying models of a run (Li and Stephens 2003), by [mode][panel][cond_panel]: haplotypes of a panel as mosaics of
// those of the panels up to cond_panel. Mode 0 is the haploid, mode 1 the diploid model.

#include <array>
#include <cstdint>

#include "model/transition.h"

template <typename T>
using model_table = std::array<std::array<std::array<T, 3>, 3>, 2>;

// Emission tables of one model. Haploid: row = copied allele 0, 1; column = observed allele 0, 1, or 2 for missing.
// Diploid: row = allele 1 count of the copied pair; column = genotype 0, 1, 2, or 3 for missing.
using emission_table = std::array<std::array<double, 4>, 3>;

struct copying_models {
    model_table<int> k_states{};             // states of the model
    model_table<int> k_states_full{};        // the same without the limits of -k and -k_hap
    int k_final = 0;                         // states of the final pass over the study; 0 for none
    model_table<double> theta{};             // (theta_panel) mutation parameter
    model_table<emission_table> mutation{};  // (mutation_matrix)
    // [panel][a1][a2]: chance of the ordered observed alleles given the copied ones.
    using pair_table = std::array<std::array<std::array<double, 2>, 2>, 3>;
    pair_table pr_alleles_00{}, pr_alleles_01{}, pr_alleles_10{}, pr_alleles_11{};
    std::uint64_t switch_rates_version = 0;  // grows whenever gaps of the chains are set
    model_table<hmm_model> chains;           // (models) sites and gaps
    model_table<hmm_model> hole_chains;      // (hole_models) those of hole filling, mode 0 only
};
