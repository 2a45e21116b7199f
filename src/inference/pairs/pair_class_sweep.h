#pragma once

// Forward steps over unordered pairs of states through a stretch of sites where the states fall into few classes of
// equal alleles: the cost of a site is that of the pairs of a state and a class, not of two states.

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "inference/kernels/kernels.h"
#include "inference/pairs/state_classes.h"
#include "model/aligned_buffer.h"

// What leads into a site: stay times the value of the pair, the shares of both its states, a constant.
struct pair_terms {
    double stay = 0.0;
    const double* shared = nullptr;  // [padded K]
    double constant = 0.0;
};

class pair_class_sweep {
  public:
    // What is seen at a site, and where its gap leads to.
    struct site {
        const std::uint64_t* bits;       // alleles of the states
        std::array<double, 3> emission;  // by the number of alleles 1
        double one_moves;                // of the gap that ends here
    };

    // Begins right of a site with the table f.
    void start(const state_classes& classes, const double* f);
    // Enters the next site. Fills row as the step over the table does, and returns the sum of the table.
    double step(const site& here, const pair_terms& terms, double* row);
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
