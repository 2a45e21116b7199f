#pragma once

// Where the haplotypes of a panel stand in the orders of the candidates. The way to a place goes site by site, each
// step waiting for the one before and for memory, so that places are found for many haplotypes at a time: those that
// are likely to be asked for next.

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "inference/states/match_orders.h"

// For whom candidates are looked for, and where: a whole number of panels, the target's own haplotypes left out.
struct match_target {
    std::size_t panel = 0;
    std::size_t hap = 0;  // the first haplotype
    std::size_t n_hap = 2;
    std::size_t first_panel = 0, last_panel = 0;  // of the candidates
};

class target_places {
  public:
    // sites, n_marks: those of the orders.
    void set_sites(std::vector<std::size_t> sites, std::size_t n_marks);
    // The orders are others from here on.
    void forget() { versions_.clear(); }
    // Has the places of a target's haplotypes as they stand now.
    void prepare(const haplotypes_by_panel& haps, const match_target& target,
                 const std::array<match_orders, 3>& orders);

    // Of a haplotype that was prepared. Its alleles, bits by site:
    const std::uint64_t* alleles(std::size_t hap) const { return rows_.data() + (hap - first_) * words_; }
    // How many haplotypes of a panel stand before it:
    std::size_t place(std::size_t hap, std::size_t panel, match_side side, std::size_t mark) const {
        const std::vector<std::int32_t>& places = places_[panel][side == match_side::left ? 0 : 1];
        return static_cast<std::size_t>(places[(hap - first_) * n_marks_ + mark]);
    }

  private:
    bool has(const packed_haplotypes& own, const match_target& target) const;
    void take_alleles(const packed_haplotypes& own);

    std::vector<std::size_t> sites_;
    std::size_t n_marks_ = 0, words_ = 0;
    std::size_t panel_ = 0, first_panel_ = 0, last_panel_ = 0;  // as in match_target
    std::size_t first_ = 0;                                     // of the haplotypes that have places
    std::vector<std::uint32_t> versions_;                       // of these haplotypes when their places were found
    std::vector<std::uint64_t> rows_;                           // [haplotype][words]: their alleles
    std::vector<std::uint64_t> columns_;                        // [64 haplotypes][site]: the same, a bit a haplotype
    std::array<std::array<std::vector<std::int32_t>, 2>, 3> places_;  // [panel][side], [haplotype][mark]
};
