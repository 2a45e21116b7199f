#pragma once

// The choice of the conditioning states of an update: at random, by similarity, or from a matrix of distances.

struct data;

void choose_random_conditioning_states(data& run, int hap, int ploidy, int panel, int cond_panel);
void choose_informed_conditioning_states(data& run, int hap, int ploidy, int panel, int cond_panel, bool single);
void choose_conditioning_states_from_dist_matrix(data& run, int hap, int ploidy, int panel, int cond_panel,
                                                 bool single);
