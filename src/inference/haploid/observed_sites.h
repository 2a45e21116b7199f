#pragma once

// The observed sites of a sweep of one haplotype, its anchors, and how the vectors at the sites between them follow
// from theirs. This depends on gaps and observations only, not on the states' alleles.

#include <algorithm>
#include <cstddef>
#include <limits>
#include <utility>
#include <vector>

#include "inference/haploid/haploid_types.h"

// What stands between a vector and a site some gaps away, all of them without emissions: alpha times the vector, plus
// mu times its sum, of sum growth times its sum.
struct distant {
    double alpha = 1.0, mu = 0.0, growth = 1.0;
    void pass(const haploid_gap& gap, double n_states) {
        alpha *= gap.diff;
        mu = mu * gap.diff + growth * gap.move;
        growth *= gap.diff + n_states * gap.move;
    }
};

// Whether a missing observation says nothing: without a mutation rate, as for a single state, it has no chance either.
bool missing_is_neutral(const haploid_problem& problem);

// Whether anchors and coefficients of the sweep before serve again.
bool same_sites(const haploid_problem& problem, const haploid_tables& tables);

// Lists the anchors, with what does not depend on the states' alleles. fill(i) fills an anchor, or does nothing;
// is_small(growth) tells whether the sum of the last anchor times growth asks for another anchor.
template <typename Fill, typename IsSmall>
void list_anchors(const haploid_problem& p, haploid_tables& t, const Fill& fill, const IsSmall& is_small) {
    const auto n_states = static_cast<double>(p.n_states);
    const bool neutral = missing_is_neutral(p);
    t.anchors.assign(1, {0, 0.0, 0.0, n_states, 1.0, 1.0, 1.0});
    t.alpha.resize(p.n_sites);
    t.mu.resize(p.n_sites);
    t.sees_right = false;
    t.made_for = {p.gap, p.gap_version, p.n_states, std::vector<std::uint8_t>(p.n_sites)};
    distant here{1.0 / n_states, 0.0, 1.0 / n_states};
    for (std::size_t v = 0; v < p.n_sites; ++v) {
        if (v > 0) here.pass(p.gap[v], n_states);
        const bool observed = p.observed[v] != unobserved || !neutral;
        t.made_for.has_observation[v] = observed ? 1 : 0;
        if (observed || (v > 0 && is_small(here.growth))) {
            if (!observed) t.made_for.gap_version = 0;  // not for another sweep
            t.anchors.push_back({v, here.alpha, here.mu, 0.0, 1.0, 1.0, 1.0});
            here = {};
            fill(t.anchors.size() - 1);
            if (!(t.anchors.back().scale > 0.0)) {
                // No state explains the data: all values are undefined, here and further right.
                here.growth = std::numeric_limits<double>::quiet_NaN();
                t.made_for.gap_version = 0;
            }
        }
        t.alpha[v] = here.alpha;
        t.mu[v] = here.mu;
        haploid_tables::anchor& anchor = t.anchors.back();
        anchor.growth = here.growth;
        anchor.least_growth = std::min(anchor.least_growth, here.growth);
    }
}

// For a sweep that fills the anchors in another way. Lists anchors and their coefficients, unless those of the sweep
// before serve again. Returns false where other sites must be anchors too.
bool lay_out_anchors(const haploid_problem& problem, haploid_tables& tables);

// The coefficients of the backward vectors, unless they are there.
void look_right(const haploid_problem& problem, haploid_tables& tables);

// Fills state_weights for the sites from first to before end of an anchor.
void list_state_weights(haploid_tables& tables, std::size_t anchor, double right_sum, std::size_t first,
                        std::size_t end);

// The sites of the stretch from first to before end that matter: those between the outermost posteriors that are asked
// for. Both are equal when there are none.
template <typename Requests>
std::pair<std::size_t, std::size_t> wanted_stretch(const Requests& requests, std::size_t first, std::size_t end) {
    while (first < end && !requests[end - 1].posterior) --end;
    while (first < end && !requests[first].posterior) ++first;
    return {first, end};
}
