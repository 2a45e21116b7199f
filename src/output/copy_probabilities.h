#pragma once

// Lines of the files "_ref_copy_probs" and "_all_copy_probs": which haplotypes an update copies from at one site.

#include <array>
#include <cstddef>
#include <span>

#include "io/result_file.h"

class run_log;
struct conditioning_states;

// One line of the reference file: 2 * individual + strand (0 or 1), the position, and the chance of each of the n_hap0
// haplotypes of Panel 0. posterior: forward times backward by conditioning state, not scaled. Ends the run if there are
// not n_expected states of Panel 0.
void output_ref_copy_probs(result_file& file, run_log& log, std::size_t individual, std::size_t strand, long position,
                           const conditioning_states& states, std::span<const double> posterior, std::size_t n_hap0,
                           std::size_t n_expected, int outdp);

// One line of the file of all panels: individual and position joined by "-", and the chance of each haplotype of Panels
// 0, 1 and 2 (n_hap by panel), but for the n_own haplotypes from first_own on in Panel 2, which are the individual's
// own. posterior: by conditioning state, a pair of states counting for both, not scaled. Ends the run if there are not
// n_expected states.
void output_all_copy_probs(result_file& file, run_log& log, std::size_t individual, long position,
                           std::size_t first_own, std::size_t n_own, const conditioning_states& states,
                           std::span<const double> posterior, const std::array<std::size_t, 3>& n_hap,
                           std::size_t n_expected, int outdp);
