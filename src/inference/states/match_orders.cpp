#include "inference/states/match_orders.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "inference/states/cut_alleles.h"

namespace {

constexpr std::size_t rank_bits = 32;  // of a word with ranks

}  // namespace

void match_orders::set_sites(std::vector<std::size_t> sites, std::vector<std::size_t> marks) {
    sites_ = std::move(sites);
    marks_ = std::move(marks);
    words_ = bits::words_for(sites_.size());
    n_changes_ = 0;
}

// Calls pass_site(site) for the sites that a side has between its end of the sites and its last mark, and
// keep_mark(mark) where it comes to a mark.
template <typename Pass, typename Keep>
void match_orders::go_to_marks(match_side side, Pass pass_site, Keep keep_mark) const {
    if (side == match_side::left) {
        std::size_t site = 0;
        for (std::size_t mark = 0; mark < marks_.size(); ++mark) {
            while (site < marks_[mark]) pass_site(site++);
            keep_mark(mark);
        }
    } else {
        std::size_t site = sites_.size();
        for (std::size_t mark = marks_.size(); mark-- > 0;) {
            while (site > marks_[mark]) pass_site(--site);
            keep_mark(mark);
        }
    }
}

void match_orders::find_places(const std::uint64_t* alleles, std::size_t n, match_side side,
                               std::int32_t* places) const {
    const kernels::ranked_alleles* ranked = sides_[index_of(side)].ranked.data();
    std::vector<std::uint64_t> running(bits::words_for(n) * bits::word_bits, 0);
    go_to_marks(
        side,
        [&](std::size_t site) {
            const std::uint64_t* of_targets = alleles + site;
            for (std::size_t t = 0; t < n; t += bits::word_bits, of_targets += words_ * bits::word_bits) {
                kernels::active().pass_ranked(n_hap_, ranked + site * rank_words_, *of_targets,
                                              std::min(bits::word_bits, n - t), running.data() + t);
            }
        },
        [&](std::size_t mark) {
            for (std::size_t t = 0; t < n; ++t) {
                places[t * marks_.size() + mark] = static_cast<std::int32_t>(running[t]);
            }
        });
}

void match_orders::cut_rows(const packed_haplotypes& full) {
    n_hap_ = full.n_hap();
    rows_.resize(n_hap_ * words_);
    std::vector<std::uint64_t> columns(words_ * bits::word_bits);
    for (std::size_t first = 0; first < n_hap_; first += bits::word_bits) {
        const std::size_t n = std::min(bits::word_bits, n_hap_ - first);
        cut_columns(full, first, n, sites_, columns.data());
        turn_columns(columns.data(), words_, n, rows_.data() + first * words_);
    }
}

// The alleles of the 32 sites around a site, beside the haplotypes: so they need not be looked for at each site.
void match_orders::look_up(std::size_t site) {
    for (kernels::sorted_haplotype& sorted : running_) {
        const std::uint64_t word = row(sorted.hap)[site / bits::word_bits];
        sorted.alleles = static_cast<std::uint32_t>(word >> (site % bits::word_bits / rank_bits * rank_bits));
    }
}

// A site after the other (Durbin 2014, algorithm 1).
void match_orders::sort(match_side side) {
    sorted_side& sorted = sides_[index_of(side)];
    sorted.orders.resize(marks_.size() * n_hap_);
    sorted.ranked.resize(sites_.size() * rank_words_);
    for (std::size_t h = 0; h < n_hap_; ++h) running_[h].hap = static_cast<std::uint32_t>(h);
    std::optional<std::size_t> looked_up;  // the 32 sites
    go_to_marks(
        side,
        [&](std::size_t site) {
            if (looked_up != site / rank_bits) look_up(site);
            looked_up = site / rank_bits;
            kernels::active().sort_by_allele(n_hap_, static_cast<unsigned>(site % rank_bits), running_.data(),
                                             scratch_.data(), sorted.ranked.data() + site * rank_words_);
        },
        [&](std::size_t mark) {
            std::int32_t* order = sorted.orders.data() + mark * n_hap_;
            for (std::size_t i = 0; i < n_hap_; ++i) order[i] = static_cast<std::int32_t>(running_[i].hap);
        });
}

void match_orders::refresh(const packed_haplotypes& full) {
    if (n_changes_ == full.n_changes() + 1) return;
    n_changes_ = full.n_changes() + 1;
    cut_rows(full);
    rank_words_ = n_hap_ / rank_bits + 1;
    running_.resize(n_hap_);
    scratch_.resize(n_hap_ + 8);
    sort(match_side::left);
    sort(match_side::right);
}
