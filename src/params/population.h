#pragma once

// Mutation parameters of the copying model, which depend only on the number of haplotypes that take part.

#include <cstddef>

#include "io/run_log.h"
#include "model/copying_models.h"
#include "model/panel.h"
#include "model/parameters.h"
#include "model/run_plan.h"
#include "model/site_table.h"

// Inverse of the harmonic sum 1/1 + ... + 1/(n - 1) (Watterson 1975; Li and Stephens 2003); -1.0 below two haplotypes.
double harmonic_theta(int n);

// Mutation rate (theta/2) / (n + theta) of a model with n states (Li and Stephens 2003); -1.0 without states.
double mutation_rate(int n, double theta);

// (data::set_theta_panel) The mutation parameters of all models, for the numbers of states in use or, if full, for
// those without limits.
void set_theta(const parameters& params, const run_plan& plan, const panel_array& panels, bool full,
               copying_models& models);

// Emission tables of the model of pairs in a panel, for a given mutation rate.
void set_pair_mutation(std::size_t panel, double rate, copying_models& models);

// (data::set_mutation_matrix) The emission tables of all models, and at sites with input probabilities the weights of
// the genotypes (snp::gtype_emiss). Says so in the log.
void set_mutation(run_log& log, const parameters& params, const run_plan& plan, const panel_array& panels, bool full,
                  copying_models& models, site_table& sites);
