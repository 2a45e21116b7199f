#pragma once

// The files "_diploid_copy_states_..." and "_haploid_copy_states_...": the conditioning states of one iteration.

#include <cstddef>
#include <span>

#include "output/result_inputs.h"

struct copy_state_record;

// (output_current_copy_states) A line per record, an individual's or a haplotype's, of its first n_states states; an
// empty one where nothing was recorded. diploid: the states of phasing, which have two distances; else those of the
// imputation of sites of a type (0 or 1). iter counts from 0.
void write_copy_states(const result_inputs& run, int iter, bool diploid, std::size_t type,
                       std::span<const copy_state_record> records, std::size_t n_states);
