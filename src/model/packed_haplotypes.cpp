#include "model/packed_haplotypes.h"

#include <algorithm>
#include <array>

packed_haplotypes::packed_haplotypes(std::size_t n_hap, std::size_t n_sites)
    : n_hap_(n_hap),
      n_sites_(n_sites),
      row_words_((bits::words_for(n_sites) + 7) / 8 * 8),
      bits_(n_hap * row_words_, 0),
      present_(row_words_, 0),
      version_(n_hap, 0) {}

void packed_haplotypes::fill(std::size_t first_site, const std::uint64_t* const* rows, std::size_t n_rows) {
    std::array<std::uint64_t, bits::word_bits> block{};
    const std::size_t site_word = first_site / bits::word_bits;
    for (std::size_t j = 0; j < n_rows; ++j) {
        if (rows[j] != nullptr) set_holds(first_site + j);
    }
    for (std::size_t hap_word = 0; hap_word < bits::words_for(n_hap_); ++hap_word) {
        block.fill(0);
        for (std::size_t j = 0; j < n_rows; ++j) {
            if (rows[j] != nullptr) block[j] = rows[j][hap_word];
        }
        transpose_bits(block.data());
        const std::size_t first_hap = hap_word * bits::word_bits;
        const std::size_t n = std::min(bits::word_bits, n_hap_ - first_hap);
        for (std::size_t h = 0; h < n; ++h) bits_[(first_hap + h) * row_words_ + site_word] = block[h];
    }
}

// Swaps ever smaller off-diagonal quarters (Hacker's Delight, 7-3, for 64 bits, least significant bit first).
void transpose_bits(std::uint64_t* block) {
    std::uint64_t mask = 0x00000000ffffffffULL;
    for (unsigned width = 32; width != 0; width >>= 1, mask ^= mask << width) {
        for (unsigned i = 0; i < 64; i = ((i | width) + 1) & ~width) {
            const std::uint64_t swapped = ((block[i] >> width) ^ block[i | width]) & mask;
            block[i] ^= swapped << width;
            block[i | width] ^= swapped;
        }
    }
}
