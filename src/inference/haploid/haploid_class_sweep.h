#pragma once

// The model of one haplotype over states of one panel, block by block of sites over which these are few different ones:
// vectors over all states exist at the borders of blocks only.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "inference/haploid/haploid_types.h"
#include "inference/haploid/haplotype_classes.h"
#include "model/aligned_buffer.h"

struct haploid_class_tables {
    struct block {
        std::size_t n_classes;  // among the states
        std::size_t alleles;    // offset of the first site's row
        std::size_t sums;       // offset in size and left_sums
        std::size_t anchor;     // the last one left of the block
    };
    std::vector<block> blocks;
    std::vector<std::uint16_t> of_state;  // [block][K]
    std::vector<std::uint64_t> alleles;   // [visited site][words of the block]: bit c is the allele of class c
    aligned_buffer vectors;               // [block][padded K]: forward values at the last anchor left of it
    aligned_buffer right;                 // [padded K]: backward values at the next anchor right of the block
    // [block][padded classes]: numbers of states, sums of their values at the left border.
    aligned_buffer size, left_sums;
    std::size_t n_sums = 0;
    // Of the block in hand, padded: sums of the values at its right border, and of the products with those at the left.
    aligned_buffer right_sums, products;
    aligned_buffer images;  // [anchor of the block, the border first][2][classes]
    aligned_buffer right_image, scratch;
    std::vector<std::uint16_t> local;  // by class of the panel
    std::vector<std::uint16_t> met;    // classes of the panel, by class of the states
};

// Forward sweep over the states hap[k], haplotypes of the panel that classes serve, with these visited sites; the
// problem's alleles are not read. Fills the anchors of tables. Returns the log10 likelihood, or nothing where single
// states must be looked at: without states or sites, where a missing observation is not neutral, where values become
// small or undefined.
std::optional<double> haploid_forward_by_classes(const haploid_problem& problem, const haplotype_classes& classes,
                                                 std::span<const int> hap, haploid_tables& tables,
                                                 haploid_class_tables& by_class);

// The posteriors that are asked for, after the sweep; memory saving does not show in them. Returns false where single
// states must be looked at.
bool haploid_posteriors_by_classes(const haploid_problem& problem, const haplotype_classes& classes,
                                   haploid_tables& tables, haploid_class_tables& by_class,
                                   std::span<const haploid_request> requests, haploid_results& results);
