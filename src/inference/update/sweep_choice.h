#pragma once

// Which sweep an update runs.
//
//     haplotypes  sweep            when                                         where it cannot be had
//     one         classes          posteriors and no path, of Panel 0           observed_sites: where these haplotypes
//                                  haplotypes alone; no copy probabilities      change or differ too much, values get
//                                                                               too small, or stale values are read
//     one         observed_sites   else                                         -
//     two         kept_tables      always; tables at every 48th site, at every  -
//                                  16th for posteriors, at all of them for
//                                  copy probabilities; by classes of states
//                                  over stretches where that costs less
//
// -mem_save_1 changes no sweep, only what the stretch left of the leftmost checkpoint reads (stale_stretch.h). One
// haplotype knows nothing of it under -use_old_code and -show_ref_copy_probs; two of them where their phase is known,
// and under -use_old_code for likelihoods, for posteriors and for haploid males.
//
// Draws come state by state with their alleles, or all states of the path before the first allele: under -use_old_code,
// for a known phase, and for holes, which run observed_sites always. The posteriors of the states are computed for the
// files of copy probabilities: -show_ref_copy_probs for a study haplotype that copies Panel 0, -show_all_copy_probs under
// -use_old_code for two haplotypes of unknown phase, on iterations that count.

#include <cstddef>

#include "inference/update/update.h"
#include "model/conditioning_states.h"
#include "model/parameters.h"
#include "model/run_plan.h"
#include "model/transition.h"

enum class haploid_sweep { observed_sites, classes };

struct haploid_choice {
    haploid_sweep sweep = haploid_sweep::observed_sites;
    std::size_t checkpoint_interval = 0;  // 0 where memory saving does not show
    bool states_first = false;  // all states of the path are drawn before the first allele
    bool copying = false;       // the posteriors of the states are wanted
};
// n_states: K of the model.
haploid_choice choose_sweep(const parameters& params, const haploid_update& update, const hmm_model& model,
                            const conditioning_states& states, std::size_t n_states);

struct pair_choice {
    std::size_t checkpoint_interval = 0;  // 0 where memory saving does not show
    std::size_t keep_every = pair_problem{}.keep_every;
    bool states_first = false;
    bool copying = false;
};
pair_choice choose_sweep(const parameters& params, const run_plan& plan, const pair_update& update,
                         const hmm_model& model);
