#pragma once

// The alleles of a panel's haplotypes, site by site.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "model/packed_haplotypes.h"

// The packed rows run along the sites of a haplotype, so that 64 sites are turned at once: ask for sites in order.
class site_alleles {
  public:
    explicit site_alleles(const packed_haplotypes& haps);
    // Bit h: the allele of haplotype h at the site. Valid until a site of another 64 is asked for.
    const std::uint64_t* row(std::size_t site);

  private:
    void load(std::size_t site_word);

    const packed_haplotypes& haps_;
    std::size_t hap_words_;
    std::size_t loaded_word_;
    std::vector<std::uint64_t> rows_;  // [site of 64][hap_words]
};

inline char allele_digit(const std::uint64_t* row, std::size_t hap) {
    return bits::get(row, hap) ? '1' : '0';
}
