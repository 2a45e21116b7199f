#pragma once

// What the readers of initial and of known haplotypes of Panel 2 share.

#include <cstddef>
#include <string_view>
#include <vector>

#include "input/site_source.h"
#include "model/panel.h"

class run_log;

// Ends the run unless n_columns less the excluded ones are the individuals of -g. what: as in "Panel 2 haplotypes
// file".
void check_against_genotypes(run_log& log, std::size_t n_individuals, const std::vector<bool>& exclude_flags,
                             std::size_t n_columns, std::string_view what);

// Ends the run unless the site in hand has n pairs, one for each of n_columns.
void check_pairs(const phased_source& source, std::size_t n, std::size_t n_columns);

// In a run with haploid males, ends the run when a female has a "-". column counts from 0.
void refuse_female_without_allele(run_log& log, const panel_data& study, const allele_pair& pair, std::size_t column,
                                  std::size_t individual);

enum class label_order { same, crossed, neither };
// How two labels stand to those that the entry has in Panel 2.
label_order compare_labels(std::string_view a0, std::string_view a1, std::string_view entry0, std::string_view entry1);
