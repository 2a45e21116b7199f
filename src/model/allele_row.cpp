#include "model/allele_row.h"

#include <algorithm>
#include <utility>

void allele_row::set(std::size_t i, int allele) {
    bits::set(ones_.data(), i, allele == 1);
    if (allele == 2 && missing_.empty()) missing_.assign(ones_.size(), 0);
    if (!missing_.empty()) bits::set(missing_.data(), i, allele == 2);
}

void allele_row::assign(std::size_t n, int allele) {
    const std::size_t n_words = bits::words_for(n);
    std::vector<std::uint64_t> all(n_words, ~std::uint64_t{0});
    if (n % bits::word_bits != 0) all.back() = (std::uint64_t{1} << (n % bits::word_bits)) - 1;
    const std::vector<std::uint64_t> none(n_words, 0);
    assign(n, allele == 1 ? all : none, allele == 2 ? all : std::vector<std::uint64_t>{});
}

void allele_row::assign(std::size_t n, std::vector<std::uint64_t> ones, std::vector<std::uint64_t> missing) {
    size_ = n;
    ones_ = std::move(ones);
    missing_ = std::move(missing);
}

void allele_row::clear() {
    size_ = 0;
    ones_ = {};
    missing_ = {};
}

bool allele_row::any_missing() const {
    return std::any_of(missing_.begin(), missing_.end(), [](std::uint64_t word) { return word != 0; });
}

void allele_row::invert() {
    for (std::size_t w = 0; w < ones_.size(); ++w) {
        ones_[w] = ~ones_[w] & (missing_.empty() ? ~std::uint64_t{0} : ~missing_[w]);
    }
    if (size_ % bits::word_bits != 0 && !ones_.empty()) {
        ones_.back() &= (std::uint64_t{1} << (size_ % bits::word_bits)) - 1;
    }
}
