#include "model/accumulators.h"

void sum_table::allocate(std::size_t n_rows, const std::vector<int>& column, std::size_t n_columns) {
    column_ = column;
    n_columns_ = n_columns;
    values_ = zeroed_array<double>(n_rows * n_columns);
}

void sample_bits::allocate(std::size_t n_slots, const std::vector<int>& column, std::size_t n_columns,
                           std::size_t n_iterations) {
    column_ = column;
    n_columns_ = n_columns;
    n_words_ = (n_iterations + 63) / 64;
    words_.assign(n_slots * 2 * n_columns * n_words_, 0);
}

void sample_bits::set(std::size_t slot, int h, std::size_t site, std::size_t iteration, bool value) {
    if (!has(site)) return;
    std::uint64_t& target = words_[place(slot, h, site, iteration)];
    const std::uint64_t bit = std::uint64_t{1} << (iteration % 64);
    target = value ? target | bit : target & ~bit;
}
