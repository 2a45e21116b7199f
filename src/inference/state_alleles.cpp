#include "inference/state_alleles.h"

#include <algorithm>

#include "inference/kernels/kernels.h"

namespace {

// Visited sites that share one word of the haplotypes' rows.
struct site_run {
    std::size_t word;
    std::size_t first;  // visited site
    std::size_t n;
};

std::vector<site_run> runs_of(const std::vector<int>& sites) {
    std::vector<site_run> runs;
    for (std::size_t v = 0; v < sites.size(); ++v) {
        const std::size_t word = static_cast<std::size_t>(sites[v]) / bits::word_bits;
        if (runs.empty() || runs.back().word != word) runs.push_back({word, v, 0});
        ++runs.back().n;
    }
    return runs;
}

// The rows of the states, padded to whole blocks with rows of zeros.
std::vector<const std::uint64_t*> rows_of(const std::array<packed_haplotypes, 3>& haps,
                                          const conditioning_states& states, std::size_t n_rows,
                                          const std::vector<std::uint64_t>& zeros) {
    std::vector<const std::uint64_t*> rows(n_rows, zeros.data());
    for (std::size_t k = 0; k < std::min(n_rows, states.size()); ++k) {
        rows[k] = haps[static_cast<std::size_t>(states.panel[k])].row(static_cast<std::size_t>(states.hap[k]));
    }
    return rows;
}

}  // namespace

void gather_state_alleles(const std::array<packed_haplotypes, 3>& haps, const conditioning_states& states,
                          const std::vector<int>& sites, std::size_t n_states, std::vector<std::uint64_t>& alleles) {
    const std::size_t words = bits::words_for(n_states);
    alleles.resize(sites.size() * words);
    if (words == 0 || sites.empty()) return;
    const std::vector<site_run> runs = runs_of(sites);
    const std::vector<std::uint64_t> zeros(runs.back().word + 1, 0);
    std::vector<const std::uint64_t*> rows = rows_of(haps, states, words * bits::word_bits, zeros);
    std::fill(rows.begin() + static_cast<std::ptrdiff_t>(n_states), rows.end(), zeros.data());

    alignas(64) std::array<std::uint64_t, bits::word_bits> block{};
    const auto transpose = kernels::active().transpose;
    // Words of the rows by cache lines: all states read a line before the next one is touched.
    constexpr std::size_t line_words = 8;
    for (std::size_t first_run = 0; first_run < runs.size(); first_run += line_words) {
        const std::size_t end_run = std::min(first_run + line_words, runs.size());
        for (std::size_t w = 0; w < words; ++w) {
            const std::uint64_t* const* block_rows = rows.data() + w * bits::word_bits;
            for (std::size_t r = first_run; r < end_run; ++r) {
                const site_run& run = runs[r];
                for (std::size_t j = 0; j < bits::word_bits; ++j) block[j] = block_rows[j][run.word];
                transpose(block.data());
                std::uint64_t* out = alleles.data() + run.first * words + w;
                const int* site = sites.data() + run.first;
                for (std::size_t i = 0; i < run.n; ++i) {
                    out[i * words] = block[static_cast<std::size_t>(site[i]) % bits::word_bits];
                }
            }
        }
    }
}
