#pragma once

// The model of one haplotype by single states: forward sweep, walk back that samples a path, backward sweep, posteriors
// (Rabiner 1989). Between two observed sites the forward vector is an affine image of the last observed one, and the
// backward vector of the next observed one, so that vectors exist at observed sites only. A posterior at a site without
// observation needs sums over the states that carry the rarer allele.

#include <span>
#include <vector>

#include "inference/haploid/haploid_types.h"

// Fills the tables. Returns the log10 likelihood of the observations.
double haploid_forward(const haploid_problem& problem, haploid_tables& tables);

// Walks from the last site to the first: at each site the state draw, the allele draw, the backward step, the
// posterior. requests has one entry a visited site.
void haploid_walk(const haploid_problem& problem, haploid_tables& tables, const haploid_walk_options& options,
                  std::span<const haploid_request> requests, haploid_results& results);

// Whether such a walk reads what is left of the leftmost checkpoint of memory saving (see stale_stretch.h).
bool reads_stale_values(const haploid_problem& problem, const haploid_walk_options& options,
                        std::span<const haploid_request> requests);

// Forward times backward (forward alone without backward) of every state at every visited site, [n_sites][K], each site
// in its own unit. Memory saving does not show here.
void haploid_state_posteriors(const haploid_problem& problem, haploid_tables& tables, bool backward,
                              std::vector<double>& posteriors);

// The allele that a sampled state passes on at a site through the mutation model; takes one draw.
std::uint8_t haploid_allele_draw(const haploid_problem& problem, std::size_t v, std::size_t state);
