#pragma once

// Alleles of some haplotypes at some sites, turned from rows by haplotype to words by site and back, 64 haplotypes at a
// time.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "model/packed_haplotypes.h"

// columns: [sites], bit i is the allele of haplotype first + i of n, 64 at most; the bits past n are clear. sites:
// indices of the store, ascending.
void cut_columns(const packed_haplotypes& haps, std::size_t first, std::size_t n, const std::vector<std::size_t>& sites,
                 std::uint64_t* columns);

// columns: [64 words]; rows: [n][words], bits by column.
void turn_columns(const std::uint64_t* columns, std::size_t words, std::size_t n, std::uint64_t* rows);
