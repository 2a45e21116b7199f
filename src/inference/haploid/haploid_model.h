#pragma once

// The model of one haplotype as an imperfect mosaic of K conditioning haplotypes (Li and Stephens 2003): forward sweep,
// walk back that samples a path, backward sweep, posteriors. Nothing here knows of panels or files.
//
// Between two observed sites the forward vector is an affine image of the last observed one, and the backward vector of
// the next observed one, so that vectors exist at observed sites only. A posterior at a site without observation needs
// sums over the states that carry the rarer allele.

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "inference/kernels/kernels.h"
#include "model/aligned_buffer.h"
#include "model/transition.h"

// Sums below this are brought back to 1 by a division.
constexpr double rescale_below = 1e-50;
// The smallest positive normal double: a sum of probabilities not above it says nothing.
constexpr double tol = 2.2250738585072014e-308;
constexpr std::uint8_t unobserved = 2;

struct haploid_problem {
    std::size_t n_states = 0;                // K
    std::size_t n_sites = 0;                 // visited sites in position order
    const haploid_gap* gap = nullptr;        // [n_sites]: the gap that ends at the site
    std::uint64_t gap_version = 0;           // another one for other gaps at the same place; 0 if that is not known
    const std::uint8_t* observed = nullptr;  // [n_sites]: 0, 1, or 2 for no observation
    const std::uint64_t* alleles = nullptr;  // [n_sites][words]: bit k is the allele of state k
    std::size_t words = 0;
    std::array<std::array<double, 3>, 2> emission{};  // [copied allele][observed allele]
    // Under memory saving: where forward vectors are kept, and the distance of these sites. Null: everywhere.
    const std::vector<bool>* checkpoint = nullptr;
    std::size_t interval = 0;

    const std::uint64_t* bits(std::size_t v) const { return alleles + v * words; }
    int allele(std::size_t v, std::size_t k) const { return static_cast<int>((bits(v)[k / 64] >> (k % 64)) & 1U); }
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
    std::vector<int> state;                // sampled_state by visited site; K - 1 when no state qualified
    std::vector<std::uint8_t> allele;      // drawn allele where one was asked for
    std::vector<allele_weights> weights;   // where asked for
    int stay_count = 0, switch_count = 0;  // of the states drawn in this walk
};

// The forward values of a sweep, kept for the walk that follows it.
struct haploid_tables {
    // Vectors are kept at every so many observed sites; the others are computed anew in the walk.
    static constexpr std::size_t keep_every = 8;
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
    aligned_buffer vectors;           // [anchor / keep_every][padded K]
    aligned_buffer block;             // [keep_every - 1][padded K]: of the anchors between two kept ones
    aligned_buffer work;              // [padded K]: the running vector of the forward sweep
    aligned_buffer right, right_new;  // [padded K]: backward vector of the walk
    aligned_buffer products;          // [padded K]: of forward and backward vector
    std::vector<kernels::state_weight> state_weights;  // by site of a stretch between anchors
    std::size_t stride = 0;

    // Under memory saving: vectors at the kept sites, and those of the block in hand.
    std::vector<std::size_t> kept_row;  // by visited site with a checkpoint
    aligned_buffer kept, local;         // [row][padded K]
    std::vector<double> scale;          // by visited site
};

// Fills the tables. Returns the log10 likelihood of the observations.
double haploid_forward(const haploid_problem& problem, haploid_tables& tables);

// Walks from the last site to the first: at each site the state draw, the allele draw, the backward step, the
// posterior. requests has one entry a visited site.
void haploid_walk(const haploid_problem& problem, haploid_tables& tables, const haploid_walk_options& options,
                  const std::vector<haploid_request>& requests, haploid_results& results);

// Forward times backward (forward alone without backward) of every state at every visited site, [n_sites][K], each site
// in its own unit. Needs tables without checkpoints.
void haploid_state_posteriors(const haploid_problem& problem, haploid_tables& tables, bool backward,
                              std::vector<double>& posteriors);

// The allele that a sampled state passes on at a site through the mutation model; takes one draw. State -1 stands for
// allele 0.
std::uint8_t haploid_allele_draw(const haploid_problem& problem, std::size_t v, int state);
