#pragma once

#include "reconcile/stages.h"

struct data;

// Fixes the iteration lists, builds the site lists of the models, and allocates the working tables and sums. Ends the
// run when -nind asks for more individuals than there are, when memory saving has no sites to work on, or when the
// -intermed_posns file cannot be read.
void setup_storage(data& run, const type_counts& n_of_type);
