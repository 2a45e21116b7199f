#pragma once

// The choice of the conditioning states of an update: at random, by similarity, or from a matrix of distances. Each
// fills states with the K haplotypes of the model, ordered by panel and index; with all candidates, and without a draw,
// where there are no more.

#include <cstddef>
#include <optional>
#include <vector>

#include "inference/inference_inputs.h"
#include "inference/states/choice_workspace.h"
#include "model/conditioning_states.h"

// For whom states are chosen: one haplotype, or two that stand side by side.
struct state_target {
    std::size_t mode = 0;        // 0: K of the haploid model, 1: of the diploid one
    std::size_t panel = 0;       // that is updated
    std::size_t cond_panel = 0;  // the candidates are the haplotypes of the panels up to this one, or of it alone if it
                                 // lies above panel
    std::optional<std::size_t> hap;  // the first haplotype; none: any, nobody is left out
    std::size_t n_hap = 1;           // 1 or 2; left out of the candidates if cond_panel is panel
    std::size_t percent_local = 0;   // of the states, chosen by local matches where an informed choice is made
    bool lower_panels_only = false;  // the candidates are those of the panels below panel, which is cond_panel
};

void choose_random_conditioning_states(const inference_inputs& in, const state_target& target,
                                       conditioning_states& states);

// How alleles are compared at the holes of the panel that is being filled.
enum class hole_alleles { known, not_known };  // not known yet: no mismatch

// The nearest by numbers of mismatches, those with the nearer haplotype of two; beside the local matches, if a share of
// the states is theirs (local_matches.h). Adds the states and their distances to
// the record, if there is one; distances of 0 where all were taken.
void choose_informed_conditioning_states(const inference_inputs& in, const state_target& target, hole_alleles holes,
                                         choice_workspace& work, conditioning_states& states,
                                         copy_state_record* record);

// (dist_matrix) Rows and columns: Panel 0 haplotypes, then the units of Panel 1, then those of Panel 2. A unit is a
// haplotype under -distances_by_hap, an individual under -distances.
using distance_matrix = std::vector<std::vector<double>>;

// The nearest by the matrix.
void choose_conditioning_states_from_dist_matrix(const inference_inputs& in, const distance_matrix& matrix,
                                                 const state_target& target, choice_workspace& work,
                                                 conditioning_states& states);
