#pragma once

// Mutation parameters of the copying model, which depend only on the number of haplotypes that take part.

// Inverse of the harmonic sum 1/1 + ... + 1/(n - 1) (Watterson 1975; Li and Stephens 2003); -1.0 below two haplotypes.
double harmonic_theta(int n);

// Mutation rate (theta/2) / (n + theta) of a model with n states (Li and Stephens 2003); -1.0 without states.
double mutation_rate(int n, double theta);

struct data;
void set_theta_panel(data& run, bool full);
void set_mutation_matrix(data& run, bool full);
