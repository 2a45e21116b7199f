#include "inference/state_alleles.h"

#include <algorithm>

#include "inference/kernels/kernels.h"

void gather_state_alleles(const std::array<packed_haplotypes, 3>& haps, const conditioning_states& states,
                          const std::vector<int>& sites, std::size_t n_states, std::vector<std::uint64_t>& alleles) {
    const std::size_t words = bits::words_for(n_states);
    alleles.resize(sites.size() * words);
    alignas(64) std::array<std::uint64_t, bits::word_bits> block{};
    const auto transpose = kernels::active().transpose;
    for (std::size_t w = 0; w < words; ++w) {
        const std::size_t first_state = w * bits::word_bits;
        const std::size_t n = std::min(bits::word_bits, n_states - first_state);
        std::array<const std::uint64_t*, bits::word_bits> rows{};
        for (std::size_t j = 0; j < n && first_state + j < states.size(); ++j) {
            const auto panel = static_cast<std::size_t>(states.panel[first_state + j]);
            rows[j] = haps[panel].row(static_cast<std::size_t>(states.hap[first_state + j]));
        }
        std::size_t v = 0;
        while (v < sites.size()) {
            const std::size_t site_word = static_cast<std::size_t>(sites[v]) / bits::word_bits;
            for (std::size_t j = 0; j < bits::word_bits; ++j) block[j] = rows[j] != nullptr ? rows[j][site_word] : 0;
            transpose(block.data());
            for (; v < sites.size() && static_cast<std::size_t>(sites[v]) / bits::word_bits == site_word; ++v) {
                alleles[v * words + w] = block[static_cast<std::size_t>(sites[v]) % bits::word_bits];
            }
        }
    }
}
