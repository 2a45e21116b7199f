#pragma once

#include "run/progress.h"

struct data;

// What an iteration is used for.
struct iteration {
    int it = 0;              // from 0
    bool late = false;       // states are chosen by similarity
    bool stored = false;     // its results count
    bool selfcheck = false;  // typed genotypes are masked
    int stored_count = 0;    // stored iterations before this one
};

// The passes of an iteration over the members of a panel. The order of the calls within them decides the random draws.
void update_panel0_haplotypes(data& run, const iteration& now, progress_line& progress);
void fill_panel0_holes(data& run, const iteration& now, progress_line& progress);
void update_panel1_individuals(data& run, const iteration& now, progress_line& progress);
void update_panel1_from_panel0(data& run, const iteration& now, progress_line& progress);
void fill_panel1_holes(data& run, const iteration& now, progress_line& progress);
void update_study_individuals(data& run, const iteration& now, progress_line& progress);
// What stands for the pass over the study when nobody in it needs sampling.
void record_known_study(data& run, const iteration& now);
void impute_study_from_reference(data& run, const iteration& now, progress_line& progress);
