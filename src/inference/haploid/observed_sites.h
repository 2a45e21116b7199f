#pragma once

// The sweeps of one haplotype over observed sites only.

#include <vector>

#include "inference/haploid/haploid_model.h"

double haploid_forward_anchored(const haploid_problem& problem, haploid_tables& tables);
void haploid_walk_anchored(const haploid_problem& problem, haploid_tables& tables, const haploid_walk_options& options,
                           const std::vector<haploid_request>& requests, haploid_results& results);

// What also serves a sweep that fills the anchors in another way. Lists anchors and their coefficients, unless those of
// the sweep before serve again. Returns false where other sites must be anchors too.
bool lay_out_anchors(const haploid_problem& problem, haploid_tables& tables);
// The coefficients of the backward vectors, unless they are there.
void look_right(const haploid_problem& problem, haploid_tables& tables);
// Fills state_weights for the sites from first to before end of an anchor.
void list_state_weights(haploid_tables& tables, std::size_t anchor, double right_sum, std::size_t first,
                        std::size_t end);
