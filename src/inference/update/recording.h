#pragma once

// What becomes of an update's result: drawn alleles go into the panel's haplotypes, draws and posteriors of iterations
// that count into the sums of the run. Beside the files of
// sampled haplotypes, which replace a panel's haplotypes between iterations, nothing else changes these; results are
// recorded one after the other, in the
// order of the updates.

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "inference/inference_inputs.h"
#include "inference/update/update.h"
#include "io/run_log.h"
#include "model/accumulators.h"
#include "model/panel.h"
#include "model/phase_sums.h"
#include "model/transition.h"

// What the haplotypes of the individual in hand were imputed to be, by site of the store.
struct imputed_alleles {
    explicit imputed_alleles(std::size_t n_sites);
    std::array<std::vector<double>, 2> chance;  // (allele_prob) [strand][site]: posterior chance of allele 1
    // (allele_acc) the same at typed sites without the site's own observation, [cond_panel][strand][site]
    std::array<std::array<std::vector<double>, 2>, 2> chance_unseen;
    std::array<std::array<double, 2>, 2> log10_likelihood{};  // (term_prob) [cond_panel][strand]
};

// --- after each update ----------------------------------------------------------------------------------------------

// Writes the drawn alleles of a haplotype into its panel, and counts them; adds its genotype posteriors to the sums.
void record_haploid(const inference_inputs& in, const haploid_update& update, const haploid_result& result,
                    panel_data& panel, accumulators& acc);
// Keeps the allele posteriors of a haplotype, as copied from a reference (cond_panel 0 or 1), until the individual's
// other updates are done.
void record_alleles(const inference_inputs& in, const haploid_update& update, const haploid_result& result,
                    imputed_alleles& imputed);
void record_holes(const inference_inputs& in, const hole_update& update, const haploid_result& result,
                  panel_data& panel);
// The same for an individual's two haplotypes: drawn alleles, and on iterations that count genotype and allele
// posteriors.
void record_pair(const inference_inputs& in, const pair_update& update, const pair_result& result, panel_data& panel,
                 accumulators& acc);
// Adds what the walk of a result tells of the phase to the sums of its individual.
void record_phase(const hmm_model& model, const pair_result& result, phase_sums& sums);

// --- by member, on iterations that count ----------------------------------------------------------------------------

// An individual of the study.
struct study_member {
    std::size_t ind = 0;
    std::size_t hap = 0;  // its first haplotype
    bool diploid = true;
    bool known = false;    // its haplotypes are known
    std::size_t slot = 0;  // its place among those with known haplotypes, or among the others
    // The alleles of its haplotypes, by site of the store; null: those that the panel has now.
    std::array<const std::uint64_t*, 2> alleles{};
};

// An individual that needs no update: its known genotypes and alleles, for certain.
void record_known_individual(const inference_inputs& in, const study_member& member, accumulators& acc);

// (store_counts_or_haps) What the individual was imputed to be, its sampled genotypes, and the alleles that its phase
// was sampled to have (mcmc_bits), typed sites included. stored_count: stored iterations before this one; selfcheck:
// typed genotypes were masked.
void record_imputed_individual(run_log& log, const inference_inputs& in, const study_member& member,
                               std::size_t stored_count, bool selfcheck, const imputed_alleles& imputed,
                               accumulators& acc);

// The sampled missing alleles of a Panel 0 haplotype. Ends a run that does not impute these.
void record_sporadic_alleles(run_log& log, const inference_inputs& in, std::size_t hap, accumulators& acc);
