#pragma once

// The haplotypes of a panel in the orders of the positional Burrows-Wheeler transform (Durbin 2014) at some marks among
// the sites: sorted by their alleles left of the mark, read away from it, and by those right of it. Next to the place
// of a haplotype in such an order stand those that match it furthest.

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "inference/kernels/kernels.h"
#include "model/packed_haplotypes.h"

namespace bits {

// Number of sites from first on, before end, up to the first one at which two rows differ.
inline std::size_t equal_upwards(const std::uint64_t* x, const std::uint64_t* y, std::size_t first, std::size_t end) {
    if (first >= end) return 0;
    std::size_t w = first / word_bits;
    std::uint64_t differ = (x[w] ^ y[w]) >> (first % word_bits) << (first % word_bits);
    while (differ == 0 && ++w < words_for(end)) differ = x[w] ^ y[w];
    return std::min(w * word_bits + static_cast<std::size_t>(std::countr_zero(differ)), end) - first;
}

// The same from the site before end on, down to site 0.
inline std::size_t equal_downwards(const std::uint64_t* x, const std::uint64_t* y, std::size_t end) {
    if (end == 0) return 0;
    std::size_t w = (end - 1) / word_bits;
    const std::size_t n_above = (w + 1) * word_bits - end;  // of the word's bits
    std::uint64_t differ = (x[w] ^ y[w]) << n_above >> n_above;
    while (differ == 0 && w > 0) {
        --w;
        differ = x[w] ^ y[w];
    }
    return end - w * word_bits - (word_bits - static_cast<std::size_t>(std::countl_zero(differ)));
}

}  // namespace bits

// Reading direction from a mark: the sites before it, the last one first, or those from it on.
enum class match_side { left, right };

class match_orders {
  public:
    // sites: those at which haplotypes are compared, indices of the store; marks: places among them. Both ascending.
    void set_sites(std::vector<std::size_t> sites, std::vector<std::size_t> marks);
    // Sorts the haplotypes as they stand now, if any has changed since the last call.
    void refresh(const packed_haplotypes& full);

    std::size_t n_hap() const { return n_hap_; }
    // [n_hap]: the haplotypes in the order of a side of a mark; equal ones by index.
    const std::int32_t* order(match_side side, std::size_t mark) const {
        return sides_[index_of(side)].orders.data() + mark * n_hap_;
    }
    // The places of n targets in the orders of a side: how many haplotypes stand before each of them. alleles:
    // for each 64 of them a word by site, bit t that of the t-th, padded to a multiple of 64 sites; places: [n][mark].
    void find_places(const std::uint64_t* alleles, std::size_t n, match_side side, std::int32_t* places) const;
    // Call for memory that will be read: an order around a place, as far as n haplotypes away; the rows of those there.
    // Left to itself the compiler takes them for functions that do nothing.
    [[gnu::always_inline]] void call_for_order(match_side side, std::size_t mark, std::size_t place,
                                               std::size_t n) const {
        const std::int32_t* haps = order(side, mark);
        __builtin_prefetch(haps + place - std::min(place, n));
        __builtin_prefetch(haps + std::min(place + n, n_hap_));
    }
    [[gnu::always_inline]] void call_for_rows(match_side side, std::size_t mark, std::size_t place,
                                              std::size_t n) const {
        const std::size_t first = place - std::min(place, n), end = std::min(place + n, n_hap_);
        const std::int32_t* haps = order(side, mark);
        const std::uint64_t* at_mark = rows_.data() + marks_[mark] / bits::word_bits;
        for (std::size_t i = first; i < end; ++i)
            __builtin_prefetch(at_mark + static_cast<std::size_t>(haps[i]) * words_);
    }
    // Number of sites from a mark on that a haplotype matches without a mismatch.
    std::size_t match_length(const std::uint64_t* alleles, std::size_t hap, match_side side, std::size_t mark) const {
        return side == match_side::left ? bits::equal_downwards(alleles, row(hap), marks_[mark])
                                        : bits::equal_upwards(alleles, row(hap), marks_[mark], sites_.size());
    }

  private:
    struct sorted_side {
        std::vector<std::int32_t> orders;  // [mark][place]
        // [site][rank words]: alleles in the order in which the haplotypes come to the site.
        std::vector<kernels::ranked_alleles> ranked;
    };
    static std::size_t index_of(match_side side) { return side == match_side::left ? 0 : 1; }
    const std::uint64_t* row(std::size_t hap) const { return rows_.data() + hap * words_; }
    void cut_rows(const packed_haplotypes& full);
    template <typename Pass, typename Keep>
    void go_to_marks(match_side side, Pass pass_site, Keep keep_mark) const;
    void sort(match_side side);
    void look_up(std::size_t site);

    std::vector<std::size_t> sites_, marks_;
    std::size_t n_hap_ = 0, words_ = 0, rank_words_ = 0;
    std::uint64_t n_changes_ = 0;                               // of the panel when it was sorted, plus 1; 0 for never
    std::vector<std::uint64_t> rows_;                           // [haplotype][words]: the alleles at the sites
    std::vector<kernels::sorted_haplotype> running_, scratch_;  // the order at the site in hand
    std::array<sorted_side, 2> sides_;
};
