#pragma once

// Which sweep an update runs.
//
// One haplotype, the first row that fits:
//
//     sweep            when                                             where it cannot be had
//     classes          posteriors and no path, of Panel 0 haplotypes    observed_sites: these haplotypes change or
//                      alone; no copy probabilities; nothing is read    differ too much, or values become too small
//                      left of the leftmost checkpoint
//     observed_sites   else
//
// Two haplotypes: tables of pairs, kept at every 48th site at least, at every 16th for posteriors, at every one for
// copy probabilities; steps between kept tables go by classes of states where that is worth it.
//
// Memory saving (-mem_save_1) gives these sweeps checkpoints, which show left of the leftmost one only (see
// stale_stretch.h). Without them go
//     one haplotype:   runs with -use_old_code or -show_ref_copy_probs
//     two haplotypes:  a known phase; under -use_old_code also likelihoods that are wanted, backward sweeps, and runs
//                      with haploid males
// Draws come site by site, a state and then its allele; all states of the path before the first allele under
// -use_old_code, for a known phase, and for holes (which run observed_sites without checkpoints).
// The posteriors of the states are computed for the files of copy probabilities, on iterations that count:
// -show_ref_copy_probs for a study haplotype that copies Panel 0, -show_all_copy_probs under -use_old_code for a study
// individual of unknown phase.

#include <cstddef>
#include <span>

#include "inference/update/update.h"
#include "model/conditioning_states.h"
#include "model/parameters.h"
#include "model/run_plan.h"
#include "model/transition.h"

enum class haploid_sweep { observed_sites, classes };

struct haploid_choice {
    haploid_sweep sweep = haploid_sweep::observed_sites;
    std::size_t checkpoint_interval = 0;  // 0: without
    bool states_first = false;            // all states of the path are drawn before the first allele
    bool copying = false;                 // the posteriors of the states are wanted
};
// n_states: K of the model. requests: what the walk is to do at its sites.
haploid_choice choose_sweep(const parameters& params, const haploid_update& update, const hmm_model& model,
                            const conditioning_states& states, std::size_t n_states,
                            std::span<const haploid_request> requests);

struct pair_choice {
    std::size_t checkpoint_interval = 0;
    std::size_t keep_every = pair_problem{}.keep_every;
    bool states_first = false;
    bool copying = false;
};
pair_choice choose_sweep(const parameters& params, const run_plan& plan, const pair_update& update,
                         const hmm_model& model);
