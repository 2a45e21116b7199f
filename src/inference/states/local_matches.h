#pragma once

// The candidates that match a target longest, stretch by stretch.

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

struct matched_haplotype {
    std::size_t panel = 0, hap = 0;
    std::size_t length = 0;  // sites without a mismatch, both sides of the mark together
};

class local_matches {
  public:
    // sites: those at which haplotypes are compared, indices of the store, ascending. They are parted into stretches
    // of some 24, with a mark in the middle of each.
    void set_sites(std::vector<std::size_t> sites);
    bool ready() const { return ready_; }
    std::size_t n_stretches() const { return n_stretches_; }

    // Others' haplotypes are taken as they stand when they are first looked at from here on.
    void start_iteration() { current_.fill(false); }

    // Chooses n_wanted candidates, ordered by panel and index; fewer if no more are found. The stretches of each of the
    // target's haplotypes take turns, in an order that is drawn; each takes the candidate with the longest match
    // through its mark that none has taken.
    void choose(const haplotypes_by_panel& haps, const match_target& target, std::size_t n_wanted,
                std::vector<matched_haplotype>& chosen);

  private:
    void refresh(const haplotypes_by_panel& haps, const match_target& target);
    void fill_turn(const match_target& target, const std::uint64_t* alleles, std::size_t mark, std::size_t n,
                   std::vector<matched_haplotype>& heap) const;
    void add_neighbours(const match_target& target, const std::uint64_t* alleles, std::size_t panel, match_side side,
                        std::size_t mark, std::size_t n, std::vector<matched_haplotype>& found) const;
    bool take_next(std::vector<matched_haplotype>& heap, std::vector<matched_haplotype>& chosen);

    bool ready_ = false;
    std::size_t n_stretches_ = 0;
    std::vector<std::size_t> sites_;
    std::array<match_orders, 3> orders_;  // by panel
    std::array<bool, 3> current_{};       // the orders are those of this iteration
    std::vector<std::uint64_t> alleles_;  // of the haplotype in hand, at the sites
    // [haplotype of the target][stretch]: what it may take, a heap with the longest match on top.
    std::vector<std::vector<matched_haplotype>> turns_;
    std::vector<int> sequence_;
    std::array<std::vector<std::uint8_t>, 3> taken_;  // by panel and haplotype, 0 or 1
};
