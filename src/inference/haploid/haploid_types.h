#pragma once

// The model of one haplotype as an imperfect mosaic of K conditioning haplotypes (Li and Stephens 2003): what its
// sweeps are given, what they return, and where they work. Nothing here knows of panels or files.

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "inference/kernels/kernels.h"
#include "inference/sweep_constants.h"
#include "model/aligned_buffer.h"
#include "model/transition.h"

constexpr std::uint8_t unobserved = 2;  // in place of an observed allele

struct haploid_problem {
    std::size_t n_states = 0;                // K
    std::size_t n_sites = 0;                 // visited sites in position order
    const haploid_gap* gap = nullptr;        // [n_sites]: the gap that ends at the site
    std::uint64_t gap_version = 0;           // another one for other gaps at the same place; 0 if that is not known
    const std::uint8_t* observed = nullptr;  // [n_sites]: 0, 1, or 2 for no observation
    const std::uint64_t* alleles = nullptr;  // [n_sites][words]: bit k is the allele of state k
    std::size_t words = 0;
    std::array<std::array<double, 3>, 2> emission{};  // [copied allele][observed allele]
    std::size_t checkpoint_interval = 0;              // under memory saving, see stale_stretch.h; 0 without

    const std::uint64_t* bits(std::size_t v) const { return alleles + v * words; }
    std::size_t allele(std::size_t v, std::size_t k) const {
        return k == no_state ? 0 : (bits(v)[k / 64] >> (k % 64)) & 1U;
    }
};

// What a walk does at a site.
struct haploid_request {
    bool draw_allele = false;  // draw the haplotype's allele from the sampled state
    bool posterior = false;    // report the posterior weights
};

struct haploid_walk_options {
    bool sample = false;                // draw a path of states
    bool backward = false;              // sweep back, for the posteriors
    bool alleles_after_states = false;  // draw all states of the path first, then the alleles from left to right
};

// Posterior weights of the copied alleles at a site: sums of forward times backward over the states with allele 0 and
// 1, in one arbitrary unit. At an observed site they contain the site's own emission.
using allele_weights = std::array<double, 2>;

struct haploid_results {
    std::vector<std::size_t> state;                // sampled_state by visited site; K - 1 when no state qualified
    std::vector<std::uint8_t> allele;              // drawn allele where one was asked for
    std::vector<allele_weights> weights;           // where asked for
    std::size_t stay_count = 0, switch_count = 0;  // of the states drawn in this walk
};

// The forward values of a sweep, kept for the walk that follows it.
struct haploid_tables {
    // The forward vector at a visited site is alpha f + mu sum, f being the vector of its anchor and sum that vector's
    // sum. Anchors are the observed sites, and sites at which the values have become small; the anchor of a site is the
    // last one at or left of it. Anchor 0 is a vector of ones, which stands left of the first site.
    std::vector<double> alpha, mu;  // by visited site
    // The same of the backward vector, as seen from the next anchor right of the site, its emission included.
    std::vector<double> right_alpha, right_mu;
    bool sees_right = false;  // these are up to date
    struct anchor {
        std::size_t site = 0;
        // Its vector is alpha f + mu sum, of the anchor before it, times the emission of its site, divided by scale.
        double alpha = 0.0, mu = 0.0;
        double sum = 0.0;    // of its vector
        double scale = 1.0;  // fwd_scale
        // Of the sums of forward vectors up to the next anchor, the least and the last, relative to sum.
        double least_growth = 1.0, growth = 1.0;
    };
    std::vector<anchor> anchors;
    // All of the above but sums and scales depends on gaps and observed sites only, and stays for the next sweep where
    // these are the same.
    struct {
        const haploid_gap* gap = nullptr;
        std::uint64_t gap_version = 0;
        std::size_t n_states = 0;
        std::vector<std::uint8_t> has_observation;  // by visited site
    } made_for;
    // Vectors (fwd_hap) are kept at every so many anchors; the others are computed anew in the walk.
    std::size_t keep_every = 8;
    aligned_buffer vectors;           // [anchor / keep_every][padded K]
    aligned_buffer block;             // [keep_every - 1][padded K]: of the anchors between two kept ones
    aligned_buffer work;              // [padded K]: the running vector of the forward sweep
    aligned_buffer right, right_new;  // [padded K]: backward vector of the walk
    aligned_buffer products;          // [padded K]: of forward and backward vector
    aligned_buffer stale;             // [site][padded K]: what the stale stretch reads
    std::vector<kernels::state_weight> state_weights;  // by site of a stretch between anchors
    std::size_t stride = 0;
};
