#pragma once

// Haplotypes cut down to the sites at which distances are counted.

#include <array>
#include <cstdint>
#include <vector>

#include "model/aligned_buffer.h"
#include "model/packed_haplotypes.h"

class distance_rows {
  public:
    // Indices of the counted sites in the store, ascending.
    void set_sites(std::vector<std::size_t> counted);
    bool ready() const { return ready_; }

    // Numbers of counted sites at which a haplotype differs from each haplotype of a panel. Rows that have changed
    // since the last call are cut anew.
    void distances(const haplotypes_by_panel& haps, std::size_t panel, std::size_t hap, std::size_t other_panel,
                   std::vector<int>& counts);

  private:
    struct cut_panel {
        std::vector<std::uint64_t, aligned_allocator<std::uint64_t>> rows;
        // Of the full row and of the full panel, plus 1; 0 for never cut.
        std::vector<std::uint32_t> version;
        std::uint64_t n_changes = 0;
    };
    void refresh(const packed_haplotypes& full, cut_panel& cut);
    void refresh_row(const packed_haplotypes& full, cut_panel& cut, std::size_t hap);

    bool ready_ = false;
    std::vector<std::size_t> sites_;
    std::size_t words_ = 0;  // of a row: a multiple of 8, the rest clear, so that rows begin at 64-byte boundaries
    std::array<cut_panel, 3> panels_;
};
