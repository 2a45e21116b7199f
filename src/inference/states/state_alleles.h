#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "model/conditioning_states.h"
#include "model/packed_haplotypes.h"

// Makes one row of bits a visited site, bit k being the allele of conditioning state k there: [sites][words], words
// being the 64-bit words of K bits. sites are indices of the store, ascending.
void gather_state_alleles(const haplotypes_by_panel& haps, const conditioning_states& states,
                          const std::vector<std::size_t>& sites, std::size_t n_states,
                          std::vector<std::uint64_t>& alleles);
