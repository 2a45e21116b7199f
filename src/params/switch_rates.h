#pragma once

#include "model/transition.h"

// Transition terms over a gap of d (in units of 4 Ne Morgans) among K haplotypes.
haploid_gap make_haploid_gap(double d, int K);
diploid_gap make_diploid_gap(double d, int K);

struct data;
void set_switch_rates(data& run, bool full);
void set_switch_rates_for_hole_filling(data& run, bool full);
