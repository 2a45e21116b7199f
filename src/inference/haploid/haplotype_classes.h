#pragma once

// Which haplotypes of a panel are equal over blocks of sites: what is done for one of them serves the others (see
// state_classes.h). Blocks are 64, 128 or 256 visited sites long, as different as the haplotypes are.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "model/packed_haplotypes.h"

class haplotype_classes {
  public:
    struct block {
        std::size_t first, end;  // visited sites
        std::size_t n_classes;
        std::size_t words;    // of a row of alleles
        std::size_t alleles;  // offset of the first row
    };

    // Makes the classes serve a panel at the given sites (indices in the store, ascending). A panel is known again by
    // its numbers of haplotypes and of changes. Returns whether they do: not while the haplotypes change from call to
    // call, and not where they are so different that blocks were shorter than so many sites on average, for which
    // vectors at the blocks' borders are not worth it.
    bool serve(const packed_haplotypes& panel, const std::vector<std::size_t>& sites,
               std::size_t least_mean_length = 128);

    const std::vector<block>& blocks() const { return blocks_; }
    // The class of each haplotype in block b.
    const std::uint16_t* class_of(std::size_t b) const { return class_of_.data() + b * n_hap_; }
    // Alleles of a class: bit j is that at visited site first + j.
    const std::uint64_t* alleles(const block& b, std::size_t c) const {
        return alleles_.data() + b.alleles + c * b.words;
    }

  private:
    // Returns whether blocks are as long as that.
    bool build(const packed_haplotypes& panel, const std::vector<std::size_t>& sites, std::size_t least_mean_length);
    bool add_block(const packed_haplotypes& panel, const std::vector<std::size_t>& sites, std::size_t first,
                   std::size_t words, std::size_t limit);

    std::size_t n_hap_ = 0;
    std::vector<block> blocks_;
    std::vector<std::uint16_t> class_of_;  // [block][n_hap]
    std::vector<std::uint64_t> alleles_;   // rows of the classes of all blocks
    std::vector<std::uint32_t> table_;     // of hashed rows: class + 1
    std::vector<std::size_t> sites_;
    std::uint64_t n_changes_ = 0;       // of the panel when the classes were found, plus 1
    std::uint64_t last_n_changes_ = 0;  // at the last call, plus 1
    bool worthwhile_ = false;
};
