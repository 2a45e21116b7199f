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

// So many words of a row are read at once: rows lie anywhere in memory, and each should be visited seldom.
constexpr std::size_t line_words = 8;

// The same words of all rows, one row after the other.
class row_lines {
  public:
    explicit row_lines(const std::vector<const std::uint64_t*>& rows, std::size_t n_words)
        : rows_(rows), n_words_(n_words), lines_(rows.size() * line_words) {}

    void read(std::size_t first_word) {
        const std::size_t n = std::min(line_words, n_words_ - first_word);
        for (std::size_t k = 0; k < rows_.size(); ++k) {
            if (n == line_words) {
                std::copy_n(rows_[k] + first_word, line_words, &lines_[k * line_words]);
            } else {
                std::copy_n(rows_[k] + first_word, n, &lines_[k * line_words]);
            }
        }
        next_ = first_word + line_words;
        n_called_ = 0;
    }
    // Calls for the next words of some more rows, while others are worked on.
    void call_ahead() {
        if (next_ >= n_words_) return;
        for (std::size_t i = 0; i < line_words && n_called_ < rows_.size(); ++i) {
            __builtin_prefetch(rows_[n_called_++] + next_);
        }
    }
    const std::uint64_t* line(std::size_t k) const { return &lines_[k * line_words]; }

  private:
    const std::vector<const std::uint64_t*>& rows_;
    const std::size_t n_words_;
    std::vector<std::uint64_t> lines_;
    std::size_t next_ = 0;
    std::size_t n_called_ = 0;
};

// The alleles of 64 states at the sites of one run: one word a visited site, words apart.
void turn_block(const std::uint64_t* lines, const site_run& run, const int* sites, std::size_t words,
                std::uint64_t* out) {
    alignas(64) std::array<std::uint64_t, bits::word_bits> block;
    for (std::size_t j = 0; j < bits::word_bits; ++j) block[j] = lines[j * line_words + run.word % line_words];
    kernels::active().transpose(block.data());
    if (run.n == bits::word_bits) {
        for (std::size_t j = 0; j < bits::word_bits; ++j) out[(run.first + j) * words] = block[j];
        return;
    }
    const std::size_t end = run.first + run.n;
    for (std::size_t v = run.first; v < end; ++v) {
        out[v * words] = block[static_cast<std::size_t>(sites[v]) % bits::word_bits];
    }
}

}  // namespace

void gather_state_alleles(const std::array<packed_haplotypes, 3>& haps, const conditioning_states& states,
                          const std::vector<int>& sites, std::size_t n_states, std::vector<std::uint64_t>& alleles) {
    const std::size_t words = bits::words_for(n_states);
    alleles.resize(sites.size() * words);
    if (words == 0 || sites.empty()) return;
    const std::vector<site_run> runs = runs_of(sites);
    const std::size_t n_words = runs.back().word + 1;
    const std::vector<std::uint64_t> zeros(n_words, 0);
    std::vector<const std::uint64_t*> rows = rows_of(haps, states, words * bits::word_bits, zeros);
    std::fill(rows.begin() + static_cast<std::ptrdiff_t>(n_states), rows.end(), zeros.data());

    row_lines lines(rows, n_words);
    std::size_t line = n_words;  // none yet
    for (const site_run& run : runs) {
        if (run.word / line_words != line) {
            line = run.word / line_words;
            lines.read(line * line_words);
        }
        for (std::size_t w = 0; w < words; ++w) {
            lines.call_ahead();
            turn_block(lines.line(w * bits::word_bits), run, sites.data(), words, alleles.data() + w);
        }
    }
}
