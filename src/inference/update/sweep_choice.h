#pragma once

// Which sweep an update runs.
//
// One haplotype, the first row that fits:
//
//     sweep            when                                                     where it cannot be had
//     checkpoints      -mem_save_1, and the model has checkpoints; neither
//                      -use_old_code nor -show_ref_copy_probs in the run
//     distinct         posteriors and no path, of Panel 0 haplotypes alone,     observed_sites: these haplotypes change
//                      no copy probabilities                                    or differ too much, values get too
//                      small
//     observed_sites   else
//
// Two haplotypes:
//
//     checkpoints      -mem_save_1, and the model has checkpoints; neither phase known nor likelihoods of
//     -use_old_code,
//                      nor a backward sweep or haploid males under it
//     kept_tables      else; tables at every 48th site, at every 16th for posteriors, at every one for copy
//                      probabilities
//
// Besides: draws come state by state with their alleles, or all states of the path before the first allele, under
// -use_old_code, for a known phase, and for holes (which run observed_sites always). The posteriors of the states are
// computed for the files of copy probabilities: -show_ref_copy_probs for a study haplotype that copies Panel 0,
// -show_all_copy_probs under -use_old_code for two haplotypes of unknown phase, on iterations that count.

#include <cstddef>

#include "inference/update/update.h"
#include "model/conditioning_states.h"
#include "model/parameters.h"
#include "model/run_plan.h"
#include "model/transition.h"

enum class haploid_sweep { observed_sites, distinct, checkpoints };

struct haploid_choice {
    haploid_sweep sweep = haploid_sweep::observed_sites;
    bool states_first = false;  // all states of the path are drawn before the first allele
    bool copying = false;       // the posteriors of the states are wanted
};
// n_states: K of the model.
haploid_choice choose_sweep(const parameters& params, const haploid_update& update, const hmm_model& model,
                            const conditioning_states& states, std::size_t n_states);

enum class pair_sweep { kept_tables, checkpoints };

struct pair_choice {
    pair_sweep sweep = pair_sweep::kept_tables;
    std::size_t keep_every = pair_problem{}.keep_every;
    bool states_first = false;
    bool copying = false;
};
pair_choice choose_sweep(const parameters& params, const run_plan& plan, const pair_update& update,
                         const hmm_model& model);
