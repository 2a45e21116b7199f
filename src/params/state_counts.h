#pragma once

// How many states each copying model has.

#include "model/copying_models.h"
#include "model/panel.h"
#include "model/parameters.h"

// Fills k_final and k_states: the haplotypes that a model may copy from, at most as many as -k or -k_hap say; and
// k_states_full, unless states are chosen at random, without that limit. A limit below 0 leaves a negative number.
void set_state_counts(const parameters& params, const panel_array& panels, copying_models& models);
