#include "output/site_alleles.h"

#include <algorithm>
#include <array>
#include <limits>

site_alleles::site_alleles(const packed_haplotypes& haps)
    : haps_(haps),
      hap_words_(bits::words_for(haps.n_hap())),
      loaded_word_(std::numeric_limits<std::size_t>::max()),
      rows_(bits::word_bits * hap_words_) {}

const std::uint64_t* site_alleles::row(std::size_t site) {
    if (site / bits::word_bits != loaded_word_) load(site / bits::word_bits);
    return rows_.data() + (site % bits::word_bits) * hap_words_;
}

void site_alleles::load(std::size_t site_word) {
    std::array<std::uint64_t, bits::word_bits> block{};
    for (std::size_t w = 0; w < hap_words_; ++w) {
        const std::size_t first_hap = w * bits::word_bits;
        const std::size_t n = std::min(bits::word_bits, haps_.n_hap() - first_hap);
        block.fill(0);
        for (std::size_t h = 0; h < n; ++h) block[h] = haps_.row(first_hap + h)[site_word];
        transpose_bits(block.data());
        for (std::size_t j = 0; j < bits::word_bits; ++j) rows_[j * hap_words_ + w] = block[j];
    }
    loaded_word_ = site_word;
}
