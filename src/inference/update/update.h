#pragma once

// One update of one haplotype or individual: what is asked, and what a sweep over conditioning states answers. An
// update reads the run and its states, and writes its workspace and its result; recording.h puts results into the run.

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "inference/haploid/haploid_model.h"
#include "inference/haploid/haplotype_classes.h"
#include "inference/inference_inputs.h"
#include "inference/pairs/pair_model.h"
#include "inference/update/workspace.h"
#include "model/conditioning_states.h"
#include "model/phase_sums.h"
#include "random/random.h"

struct haploid_update {
    std::size_t ind = 0;
    std::size_t hap = 0;  // index in the panel
    std::size_t panel = 0;
    std::size_t cond_panel = 0;
    std::size_t strand = 0;                 // which of the individual's haplotypes: 0 or 1
    std::optional<std::size_t> known_slot;  // place among the individuals with known haplotypes
    bool sample = false;                    // draw a path, and alleles from it
    bool save_alleles = false;              // count the drawn alleles
    bool backward = false;                  // compute posteriors
    bool genotype_probs = false;            // those of the individual's genotypes
    bool allele_probs = false;              // those of the haplotype's alleles
    bool selfcheck = false;                 // those of typed sites without their own observation
    bool stored = false;                    // the iteration counts
    // The haplotype's alleles, by site of the store; null: those that its panel has now.
    const std::uint64_t* alleles = nullptr;
    const haplotype_classes* classes = nullptr;  // that serve its states; null: single states are looked at
};

struct haploid_result {
    double log10_likelihood = 0.0;
    // The visited sites whose results count.
    std::size_t first_kept = 0, end_kept = 0;
    std::vector<haploid_request> requests;  // by visited site: whether there is a drawn allele, and posterior weights
    haploid_results walk;
    // For a file of copy probabilities, else empty: [visited site][state], each site in its own unit.
    std::vector<double> copying;
};

// The classes by which the update is to go if it can (see haplotype_classes::serve), null for single states. To be
// asked for update after update in their order, and never while one that goes by these classes is computed and Panel 0
// has changed: they are then made anew.
const haplotype_classes* serving_classes(const inference_inputs& in, const haploid_update& update,
                                         const conditioning_states& states, haplotype_classes& classes);

// Result vectors keep their storage from update to update. An update that samples nothing draws no random numbers.
void update_haploid(const inference_inputs& in, const haploid_update& update, const conditioning_states& states,
                    sweep_workspace& work, haploid_result& result);

// Draws the alleles of a haplotype at the holes of its panel, by copying from_panel.
struct hole_update {
    std::size_t hap = 0;
    std::size_t panel = 0;
    std::size_t from_panel = 0;
};
void update_holes(const inference_inputs& in, const hole_update& update, const conditioning_states& states,
                  sweep_workspace& work, haploid_result& result);

struct pair_update {
    std::size_t ind = 0;
    std::size_t hap = 0;  // index of the first haplotype
    std::size_t panel = 0;
    std::optional<std::size_t> known_slot;
    bool ordered = false;  // the two haplotypes are told apart
    bool backward = false;
    bool genotype_probs = false;
    bool stored = false;
    bool weighted = false;    // the likelihood is wanted
    bool sums_phase = false;  // what the path tells of the phase is wanted
};

struct pair_result {
    double log10_likelihood = 0.0;
    std::vector<pair_request> requests;            // by visited site
    std::vector<std::array<double, 4>> emissions;  // by visited site: of the alleles of the two states, [x * 2 + y]
    pair_results walk;
    // For a file of copy probabilities, else empty: [visited site][state], a pair counting for both its states.
    std::vector<double> copying;
};

void update_pair(const inference_inputs& in, const pair_update& update, const conditioning_states& states,
                 sweep_workspace& work, pair_result& result);

// Adds what n_paths sampled paths of one sweep tell of the phase of an individual, whose order is not known, to its
// sums. The haplotypes stay as they are.
void sum_phase(const inference_inputs& in, const pair_update& update, const conditioning_states& states,
               std::size_t n_paths, Random& draws, sweep_workspace& work, pair_result& result, phase_sums& sums);

// The models that the updates run.
inline const hmm_model& model_of(const inference_inputs& in, const haploid_update& u) {
    return in.models.chains[0][u.panel][u.cond_panel];
}
inline const hmm_model& model_of(const inference_inputs& in, const hole_update& u) {
    return in.models.hole_chains[0][u.panel][u.from_panel];
}
inline const hmm_model& model_of(const inference_inputs& in, const pair_update& u) {
    return in.models.chains[1][u.panel][u.panel];
}
