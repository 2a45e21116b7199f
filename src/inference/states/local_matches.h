#pragma once

// The candidates that match a target longest, stretch by stretch.

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "inference/states/match_orders.h"
#include "inference/states/target_places.h"

struct matched_haplotype {
    std::size_t panel = 0, hap = 0;
};

// A candidate with the number of sites without a mismatch, both sides of the mark together. The greatest of them has
// the longest match; of equally long ones it is the first by panel and index.
class match_candidate {
  public:
    match_candidate(std::size_t length, std::size_t panel, std::size_t hap)
        : packed_(std::uint64_t{length} << place_bits | (std::uint64_t{last_panel - panel} << hap_bits) |
                  (last_hap - hap)) {}
    matched_haplotype who() const {
        return {last_panel - ((packed_ >> hap_bits) & last_panel), last_hap - (packed_ & last_hap)};
    }
    bool operator<(const match_candidate& other) const { return packed_ < other.packed_; }

  private:
    static constexpr unsigned hap_bits = 32, place_bits = 34;
    static constexpr std::uint64_t last_hap = 0xffffffffU, last_panel = 3;
    std::uint64_t packed_;
};

class local_matches {
  public:
    // sites: those at which haplotypes are compared, indices of the store, ascending. They are parted into stretches
    // of some 24, with a mark in the middle of each.
    void set_sites(std::vector<std::size_t> sites);
    bool ready() const { return ready_; }
    std::size_t n_stretches() const { return n_stretches_; }

    // Others' haplotypes are taken as they stand when they are first looked at from here on.
    void start_iteration();

    // Chooses n_wanted candidates, ordered by panel and index; fewer if no more are found. The stretches of each of the
    // target's haplotypes take turns, in an order that is drawn; each takes the candidate with the longest match
    // through its mark that none has taken.
    void choose(const haplotypes_by_panel& haps, const match_target& target, std::size_t n_wanted,
                std::vector<matched_haplotype>& chosen);

  private:
    void refresh(const haplotypes_by_panel& haps, const match_target& target);
    // A stretch of one of the target's haplotypes.
    struct own_stretch {
        std::size_t hap, mark;
    };
    // i: in the sequence of turns.
    void fill_turn(const match_target& target, std::size_t i, std::size_t n);
    void add_neighbours(const match_target& target, const own_stretch& own, std::size_t panel, match_side side,
                        std::size_t n, std::vector<match_candidate>& found) const;
    bool take_next(std::vector<match_candidate>& heap, std::vector<matched_haplotype>& chosen);

    bool ready_ = false;
    std::size_t n_stretches_ = 0;
    std::vector<std::size_t> sites_;
    std::array<match_orders, 3> orders_;  // by panel
    std::array<bool, 3> current_{};       // the orders are those of this iteration
    target_places places_;
    // [haplotype of the target][stretch]: what it may take, a heap with the longest match on top.
    std::vector<std::vector<match_candidate>> turns_;
    std::vector<int> sequence_;
    std::array<std::vector<std::uint8_t>, 3> taken_;  // by panel and haplotype, 0 or 1
};
