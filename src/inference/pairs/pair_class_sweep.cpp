#include "inference/pairs/pair_class_sweep.h"

#include <algorithm>

#include "model/allele_row.h"

void pair_class_sweep::start(const state_classes& classes, const double* f) {
    n_states_ = classes.n_states();
    classes.list(of_state_, size_, member_);
    const std::size_t n = size_.size(), stride = kernels::padded(n_states_);
    ensure_size(parts_, 2 * n * stride);
    ensure_size(factor_, n * kernels::padded(n));
    ensure_size(scratch_, std::max<std::size_t>(n, 6) * stride);
    class_row_.resize(n);
    class_shared_.resize(n);
    class_bits_.resize(bits::words_for(n));
    kernels::active().pairs_to_classes(kernel_view(), f, class_row_.data());
}

double pair_class_sweep::step(const site& here, const pair_terms& terms, double* row) {
    for (std::size_t first = 0; first < size_.size(); first += bits::word_bits) {
        std::uint64_t word = 0;
        for (std::size_t c = first; c < std::min(size_.size(), first + bits::word_bits); ++c) {
            const std::size_t k = member_[c];
            word |= ((here.bits[k / bits::word_bits] >> (k % bits::word_bits)) & 1U) << (c - first);
            class_shared_[c] = here.one_moves * class_row_[c];
        }
        class_bits_[first / bits::word_bits] = word;
    }
    kernels::active().class_step(kernel_view(),
                                 {terms.stay, terms.constant, terms.shared, class_shared_.data(), here.bits,
                                  class_bits_.data(), here.emission.data()},
                                 row, class_row_.data());
    double sum = 0.0;
    for (const double in_class : class_row_) sum += in_class;
    return 0.5 * sum;  // each pair stands in two rows
}

void pair_class_sweep::write_table(const double* f, double* out) {
    kernels::active().classes_to_pairs(kernel_view(), f, out);
}

kernels::pair_classes pair_class_sweep::kernel_view() {
    return {n_states_, size_.size(), of_state_.data(), size_.data(), parts_.data(), factor_.data(), scratch_.data()};
}
