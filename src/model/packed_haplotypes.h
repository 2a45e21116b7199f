#pragma once

// The current alleles of one panel, haplotype by haplotype: bit rows over the sites of the store in order.

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "model/aligned_buffer.h"
#include "model/allele_row.h"

class packed_haplotypes {
  public:
    packed_haplotypes() = default;
    // n_hap rows of n_sites clear bits, no site present.
    packed_haplotypes(std::size_t n_hap, std::size_t n_sites);

    std::size_t n_hap() const { return n_hap_; }
    std::size_t n_sites() const { return n_sites_; }
    // Words of one row, a multiple of eight so that rows begin at 64-byte boundaries; the bits past the last site are
    // clear.
    std::size_t row_words() const { return row_words_; }

    // Row of one haplotype: bit s is its allele at site s; clear where the panel does not hold the site.
    const std::uint64_t* row(std::size_t hap) const { return bits_.data() + hap * row_words_; }
    int allele(std::size_t hap, std::size_t site) const { return bits::get(row(hap), site) ? 1 : 0; }
    void set(std::size_t hap, std::size_t site, int allele) {
        bits::set(bits_.data() + hap * row_words_, site, allele == 1);
        ++version_[hap];
        ++n_changes_;
    }
    // Grows with every change of a haplotype, so that what was derived from a row can be kept.
    std::uint32_t version(std::size_t hap) const { return version_[hap]; }
    // Grows with every change of any haplotype.
    std::uint64_t n_changes() const { return n_changes_; }
    // Whether the panel holds the site.
    bool holds(std::size_t site) const { return bits::get(present_.data(), site); }
    void set_holds(std::size_t site) { bits::set(present_.data(), site, true); }

    // Fills 64 sites at once from site-major rows: rows[j] has the alleles of site first_site + j, bit h for haplotype
    // h (null: the panel does not hold the site). first_site is a multiple of 64.
    void fill(std::size_t first_site, const std::uint64_t* const* rows, std::size_t n_rows);

  private:
    std::size_t n_hap_ = 0;
    std::size_t n_sites_ = 0;
    std::size_t row_words_ = 0;
    std::vector<std::uint64_t, aligned_allocator<std::uint64_t>> bits_;
    std::vector<std::uint64_t> present_;
    std::vector<std::uint32_t> version_;
    std::uint64_t n_changes_ = 0;
};

// The haplotypes of Panels 0, 1 and 2, to be read.
using haplotypes_by_panel = std::array<const packed_haplotypes*, 3>;

// Transposes a 64 x 64 bit block in place: bit j of word i goes to bit i of word j.
void transpose_bits(std::uint64_t* block);
