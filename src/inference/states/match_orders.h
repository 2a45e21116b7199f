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

#include "model/packed_haplotypes.h"

namespace bits {

// Number of sites from first on, before end, up to the first one at which two rows differ.
inline std::size_t equal_upwards(const std::uint64_t* x, const std::uint64_t* y, std::size_t first, std::size_t end) {
    for (std::size_t i = first; i < end;) {
        const std::size_t w = i / bits::word_bits;
        const std::uint64_t differ = (x[w] ^ y[w]) >> (i % bits::word_bits);
        if (differ != 0) return std::min(i + static_cast<std::size_t>(std::countr_zero(differ)), end) - first;
        i = (w + 1) * bits::word_bits;
    }
    return end - first;
}

// The same from the site before end on, down to site 0.
inline std::size_t equal_downwards(const std::uint64_t* x, const std::uint64_t* y, std::size_t end) {
    for (std::size_t i = end; i > 0;) {
        const std::size_t w = (i - 1) / bits::word_bits;
        const std::size_t n_bits = i - w * bits::word_bits;
        const std::uint64_t differ = (x[w] ^ y[w]) << (bits::word_bits - n_bits);
        if (differ != 0) return end - i + static_cast<std::size_t>(std::countl_zero(differ));
        i = w * bits::word_bits;
    }
    return end;
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
        return orders_[side == match_side::left ? 0 : 1].data() + mark * n_hap_;
    }
    // The place of alleles (bits by site) in an order: how many haplotypes stand before them.
    std::size_t place_of(const std::uint64_t* alleles, match_side side, std::size_t mark) const;
    // Number of sites from a mark on that a haplotype matches without a mismatch.
    std::size_t match_length(const std::uint64_t* alleles, std::size_t hap, match_side side, std::size_t mark) const {
        return side == match_side::left ? bits::equal_downwards(alleles, row(hap), marks_[mark])
                                        : bits::equal_upwards(alleles, row(hap), marks_[mark], sites_.size());
    }

  private:
    const std::uint64_t* row(std::size_t hap) const { return rows_.data() + hap * words_; }
    void cut_rows(const packed_haplotypes& full);
    void turn_rows();
    void sort_left();
    void sort_right();
    void pass_site(std::size_t site);
    void keep_order(match_side side, std::size_t mark);

    std::vector<std::size_t> sites_, marks_;
    std::size_t n_hap_ = 0, words_ = 0, column_words_ = 0;
    std::uint64_t n_changes_ = 0;                      // of the panel when it was sorted, plus 1; 0 for never
    std::vector<std::uint64_t> rows_;                  // [haplotype][words]: the alleles at the sites
    std::vector<std::uint64_t> columns_;               // [site][column words]: the same by site
    std::vector<std::int32_t> running_, next_;         // the order at the site in hand
    std::array<std::vector<std::int32_t>, 2> orders_;  // [side][mark][place]
};

// Bits of a full row at some of its sites, one behind the other; to has room for words_for(sites.size()) words.
void cut_row(const std::uint64_t* from, const std::vector<std::size_t>& sites, std::uint64_t* to);
