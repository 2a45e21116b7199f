#pragma once

// The model of two haplotypes as imperfect mosaics of K conditioning haplotypes (Li and Stephens 2003): what its sweeps
// are given, what they return, and where they work. Hidden states are unordered pairs of states, seen as a genotype: a
// triangular table of K(K+1)/2 entries a site. Or, for an individual of known phase, ordered pairs: a full K x K table.
// Nothing here knows of panels or files.

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "inference/kernels/kernels.h"
#include "inference/pairs/pair_class_sweep.h"
#include "inference/pairs/state_classes.h"
#include "inference/sweep_constants.h"
#include "model/aligned_buffer.h"
#include "model/transition.h"

using allele_pair_table = std::array<std::array<double, 2>, 2>;  // [allele of the first state][of the second]
using state_pair = std::array<std::size_t, 2>;

struct pair_problem {
    bool ordered = false;
    std::size_t n_states = 0;                // K
    std::size_t n_sites = 0;                 // visited sites in position order
    const diploid_gap* gap = nullptr;        // [n_sites]: the gap that ends at the site
    const std::uint64_t* alleles = nullptr;  // [n_sites][words]: bit k is the allele of state k
    std::size_t words = 0;
    // [n_sites]: emission by the alleles of the two states, at [x * 2 + y]; unordered pairs have [1] equal to [2].
    const std::array<double, 4>* emission = nullptr;
    // Chance of the ordered observed alleles 00, 01, 10 given the copied ones, for the allele draws.
    allele_pair_table pr_00{}, pr_01{}, pr_10{};
    // Forward tables (fwd_dip) are kept at the first visited site and at least at every so many from there on.
    std::size_t keep_every = 48;
    // Steps over unordered pairs go by classes of states where that costs at most this share of what steps over whole
    // tables cost; the rest pays for the search for classes.
    double worth_of_classes = 0.75;
    // Under memory saving, unordered pairs only, see stale_stretch.h; 0 without. Tables are kept no closer than that.
    std::size_t checkpoint_interval = 0;

    const std::uint64_t* bits(std::size_t v) const { return alleles + v * words; }
    // no_state stands for allele 0.
    std::size_t allele(std::size_t v, std::size_t k) const {
        return k == no_state ? 0 : (bits(v)[k / 64] >> (k % 64)) & 1U;
    }
    // Of unordered pairs, by the number of alleles 1.
    std::array<double, 3> emission_by_sum(std::size_t v) const {
        return {emission[v][0], emission[v][1], emission[v][3]};
    }
    double pair_emission(std::size_t v, std::size_t a, std::size_t b) const {
        return emission[v][allele(v, a) * 2 + allele(v, b)];
    }
};

struct pair_request {
    bool draw_alleles = false;
    bool heterozygous = false;  // draw the order of a known heterozygote, not the genotype
    bool posterior = false;
};

struct pair_walk_options {
    bool sample = false;
    bool backward = false;
    bool alleles_after_states = false;  // draw all states of the path first, then the alleles from left to right
    bool keep_products = false;         // leave forward times backward in the tables, which are all kept
};

struct pair_results {
    std::vector<state_pair> state;                     // sampled_state_a, sampled_state_b; no_state without states
    std::vector<std::array<std::uint8_t, 2>> alleles;  // drawn alleles of the first and second haplotype
    // Sums of forward times backward over the pairs by the alleles of their states, at [x * 2 + y], in one arbitrary
    // unit, with the site's own emission. Unordered pairs have everything heterozygous at [1].
    std::vector<std::array<double, 4>> weights;
    std::size_t stay_count = 0, switch_count = 0;
    // Of unordered pairs, by visited site. The chance of the order of the two states as they stand in state, given that
    // at the site to the right, less that of the other order.
    std::vector<double> order_kept;
    // At heterozygotes: the chance that the first haplotype has allele 1, given the ordered states, less that of the
    // second.
    std::vector<double> first_is_one;
};

// A stretch of visited sites; the tables of its first and of its last site are kept.
struct pair_block {
    std::size_t first, last;
    bool by_class;  // whether its states fall into few classes
};

// Whole tables are kept at some sites; of every site are kept the terms that lead into it, from which a table, or one
// entry of it, follows anew from the kept table to its left.
struct pair_tables {
    std::vector<pair_block> blocks;                    // in order; the last site of one is the first of the next
    aligned_buffer kept;                               // [kept site][table]
    std::vector<std::optional<std::size_t>> kept_row;  // by visited site
    std::size_t n_kept = 0;
    aligned_buffer local;  // tables that were built anew, [place][table]; also what the stale stretch reads
    aligned_buffer work;   // the running table of the forward sweep
    // What leads into each visited site: the share of each state in the pairs of which one moves, and that of every
    // pair in those of which both move.
    aligned_buffer shared;         // [visited site][padded K]
    std::vector<double> constant;  // by visited site
    std::vector<double> scale;     // fwd_scale by visited site
    aligned_buffer backward;       // the backward table of the walk (dip_work)
    aligned_buffer row;            // dip_row, with dip_diag added for unordered pairs; [padded K]
    // Sums of the rows of the triangular table of a site in a block of steps over whole tables, [visited site][padded
    // K].
    aligned_buffer row_sums;
    std::array<aligned_buffer, 3> followed;  // rows of pairs, [padded K]
    aligned_buffer backward_shared;
    aligned_buffer emission_rows;
    state_classes classes, trial;  // of the block in hand
    pair_class_sweep by_class;
    std::size_t table_size = 0;
    std::size_t stride = 0;  // padded K
};

// Place of the pair (a, b) in a table; b is at most a when unordered.
inline std::size_t pair_place(const pair_problem& problem, std::size_t a, std::size_t b) {
    return (problem.ordered ? a * kernels::padded(problem.n_states) : kernels::triangle_row(a)) + b;
}
