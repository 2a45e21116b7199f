#include "model/accumulators.h"

void sample_bits::allocate(std::size_t n_slots, const std::vector<int>& column, std::size_t n_columns,
                           std::size_t n_iterations) {
    column_ = column;
    n_iterations_ = n_iterations;
    n_bits_ = bits::words_for(n_columns) * bits::word_bits;
    rows_.assign(n_slots * 2 * n_iterations * (n_bits_ / bits::word_bits), 0);
}

void sample_bits::set(std::size_t slot, int h, std::size_t site, std::size_t iteration, bool value) {
    if (has(site)) bits::set(rows_.data(), place(slot, h, site, iteration), value);
}
