#pragma once

struct data;

// Mutation rates, emissions and switch rates of all models, for the numbers of states in use or, if full, for those
// without limits.
void set_model_parameters(data& run, bool full);
