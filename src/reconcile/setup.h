#pragma once

#include "reconcile/stages.h"

struct data;

// (data::setup) What stands between reading and the first iteration. First: turns what the readers left in the store
// into one consistent site list with a plan of updates and with haplotypes; returns the number of sites by type. Then:
// the plan of iterations, the models and the space for results.
type_counts setup_panels(data& run);
void setup_models(data& run, const type_counts& n_of_type);
