#include "inference/states/state_alleles.h"

#include <algorithm>
#include <array>

#include "inference/kernels/kernels.h"

namespace {

// Visited sites that share one word of the haplotypes' rows.
struct site_run {
    std::size_t word;
    std::size_t first;  // visited site
    std::size_t n;
};

std::vector<site_run> runs_of(const std::vector<std::size_t>& sites) {
    std::vector<site_run> runs;
    for (std::size_t v = 0; v < sites.size();) {
        const std::size_t word = sites[v] / bits::word_bits;
        const std::size_t past = (word + 1) * bits::word_bits;
        std::size_t end = v + bits::word_bits;
        if (end > sites.size() || sites[end - 1] >= past) {  // not the whole word
            end = v + 1;
            while (end < sites.size() && sites[end] < past) ++end;
        }
        runs.push_back({word, v, end - v});
        v = end;
    }
    return runs;
}

// The rows of the states, padded to whole blocks with rows of zeros.
std::vector<const std::uint64_t*> rows_of(const haplotypes_by_panel& haps, const conditioning_states& states,
                                          std::size_t n_rows, const std::vector<std::uint64_t>& zeros) {
    std::vector<const std::uint64_t*> rows(n_rows, zeros.data());
    for (std::size_t k = 0; k < std::min(n_rows, states.size()); ++k) {
        rows[k] = haps[states.panel[k]]->row(static_cast<std::size_t>(states.hap[k]));
    }
    return rows;
}

// So many words of a row are read at once: rows lie anywhere in memory, and each cache line should be visited once.
constexpr std::size_t line_words = 8;

// Some words of all rows, word by word.
class row_words {
  public:
    // Rows are whole lines long.
    row_words(const std::vector<const std::uint64_t*>& rows, std::size_t n_lines)
        : rows_(rows), n_lines_(n_lines), words_(rows.size() * line_words) {}

    void read(std::size_t line) {
        std::array<const std::uint64_t*, line_words> from{};
        for (std::size_t k = 0; k < rows_.size(); k += line_words) {
            for (std::size_t j = 0; j < line_words; ++j) from[j] = rows_[k + j] + line * line_words;
            kernels::active().transpose_words(from.data(), &words_[k], rows_.size());
        }
        next_ = line + 1;
        n_called_ = 0;
    }
    // Calls for the next line of some more rows, while others are worked on.
    void call_ahead() {
        if (next_ >= n_lines_) return;
        for (std::size_t i = 0; i < line_words && n_called_ < rows_.size(); ++i) {
            __builtin_prefetch(rows_[n_called_++] + next_ * line_words, 0, 2);
        }
    }
    // The same word of 64 rows.
    const std::uint64_t* block(std::size_t word, std::size_t first_row) const {
        return &words_[word % line_words * rows_.size() + first_row];
    }

  private:
    const std::vector<const std::uint64_t*>& rows_;
    const std::size_t n_lines_;
    std::vector<std::uint64_t> words_;  // [word of the line][row]
    std::size_t next_ = 0;
    std::size_t n_called_ = 0;
};

// Writes the alleles at the sites of a run, one row a visited site, from blocks with one word a site of the store.
void write_run(const std::vector<std::uint64_t>& blocks, const site_run& run, const std::size_t* sites,
               std::size_t words, std::uint64_t* out) {
    std::size_t w = 0;
    for (; run.n == bits::word_bits && w + line_words <= words; w += line_words) {
        for (std::size_t j = 0; j < run.n; j += line_words) {
            std::array<const std::uint64_t*, line_words> from{};
            for (std::size_t i = 0; i < line_words; ++i) from[i] = &blocks[(w + i) * bits::word_bits + j];
            kernels::active().transpose_words(from.data(), out + (run.first + j) * words + w, words);
        }
    }
    for (; w < words; ++w) {
        const std::uint64_t* block = &blocks[w * bits::word_bits];
        for (std::size_t v = run.first; v < run.first + run.n; ++v) {
            out[v * words + w] = block[sites[v] % bits::word_bits];
        }
    }
}

}  // namespace

void gather_state_alleles(const haplotypes_by_panel& haps, const conditioning_states& states,
                          const std::vector<std::size_t>& sites, std::size_t n_states,
                          std::vector<std::uint64_t>& alleles) {
    const std::size_t words = bits::words_for(n_states);
    alleles.resize(sites.size() * words);
    if (words == 0 || sites.empty()) return;
    const std::vector<site_run> runs = runs_of(sites);
    const std::size_t n_lines = runs.back().word / line_words + 1;
    const std::vector<std::uint64_t> zeros(n_lines * line_words, 0);
    std::vector<const std::uint64_t*> rows = rows_of(haps, states, words * bits::word_bits, zeros);
    std::fill(rows.begin() + static_cast<std::ptrdiff_t>(n_states), rows.end(), zeros.data());

    row_words from(rows, n_lines);
    std::vector<std::uint64_t> blocks(words * bits::word_bits);
    std::size_t line = n_lines;  // none yet
    for (const site_run& run : runs) {
        if (run.word / line_words != line) {
            line = run.word / line_words;
            from.read(line);
        }
        for (std::size_t w = 0; w < words; ++w) {
            from.call_ahead();
            kernels::active().transpose(from.block(run.word, w * bits::word_bits), &blocks[w * bits::word_bits]);
        }
        write_run(blocks, run, sites.data(), words, alleles.data());
    }
}
