#pragma once

// Forward steps over unordered pairs of states through a stretch of sites where the states fall into few classes of
// equal alleles: the cost of a site is that of the pairs of a state and a class, not of two states.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "inference/pairs/state_classes.h"
#include "model/aligned_buffer.h"

namespace kernels {
struct pair_classes;
}
struct pair_problem;
struct pair_terms;

class class_sweep {
  public:
    // Begins right of a site with the table f.
    void start(const state_classes& classes, const double* f);
    // Enters site v. Fills row as the step over the table does, and returns the sum of the table.
    double step(const pair_problem& problem, std::size_t v, const pair_terms& terms, double* row);
    // The table after these steps, from that before them; out may be f.
    void write_table(const double* f, double* out);

  private:
    kernels::pair_classes kernel_view();

    std::size_t n_states_ = 0;
    std::vector<std::uint32_t> of_state_;
    std::vector<double> size_;
    std::vector<std::size_t> member_;  // a state of each class
    aligned_buffer parts_, factor_, scratch_;
    std::vector<double> class_row_, class_shared_;
    std::vector<std::uint64_t> class_bits_;
};
