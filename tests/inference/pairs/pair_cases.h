#pragma once

// Problems over pairs of states, in the form of the plain models and in that of the fast sweeps.

#include <algorithm>
#include <array>
#include <cstddef>
#include <functional>
#include <type_traits>
#include <vector>

#include "inference/inference_tools.h"
#include "inference/pairs/pair_types.h"
#include "inference/slow_diploid.h"
#include "inference/slow_ordered.h"
#include "params/switch_rates.h"

// Emission tables by allele sum and genotype for a rate of mutation, and the chances of ordered alleles.
struct pair_rates {
    std::array<std::array<double, 4>, 3> M{};
    std::array<std::array<double, 3>, 2> Mh{};
    slow::allele_table pr_00{}, pr_01{}, pr_10{};

    explicit pair_rates(double mu) {
        const double a = 1.0 - mu;
        M = {{{a * a, 2 * a * mu, mu * mu, 1.0},
              {a * mu, mu * mu + a * a, a * mu, 1.0},
              {mu * mu, 2 * a * mu, a * a, 1.0}}};
        Mh = {{{a, mu, 1.0}, {mu, a, 1.0}}};
        pr_00 = {{{M[0][0], M[1][0]}, {M[1][0], M[2][0]}}};
        pr_01 = {{{M[0][1] * 0.5, M[0][0]}, {M[0][2], M[2][1] * 0.5}}};
        pr_10 = {{{M[0][1] * 0.5, M[0][2]}, {M[0][0], M[2][1] * 0.5}}};
    }
    // Emission of a genotype.
    std::array<double, 4> genotype(int g) const {
        const auto column = static_cast<std::size_t>(g);
        return {M[0][column], M[1][column], M[1][column], M[2][column]};
    }
    // Emission of two ordered alleles.
    std::array<double, 4> ordered(int x, int y) const {
        const auto cx = static_cast<std::size_t>(x), cy = static_cast<std::size_t>(y);
        return {Mh[0][cx] * Mh[0][cy], Mh[0][cx] * Mh[1][cy], Mh[1][cx] * Mh[0][cy], Mh[1][cx] * Mh[1][cy]};
    }
};

// A problem in the form of the plain model and in that of the fast sweeps.
template <typename Model>
struct pair_case {
    static constexpr bool ordered = std::is_same_v<Model, slow::ordered_model>;
    Model plain;
    std::vector<double> distance;
    int K_gap = 1;
    std::vector<diploid_gap> gap;
    std::vector<std::array<double, 4>> emission;
    std::vector<std::uint64_t> alleles;
    std::size_t interval = 0;  // of the checkpoints
    std::vector<pair_request> requests;
    double worth_of_classes = 3.0;  // so that classes are used where they save nothing, too

    void finish() {
        std::vector<std::vector<int>> rows;
        gap.clear();
        emission.clear();
        requests.clear();
        for (std::size_t v = 0; v < plain.sites.size(); ++v) {
            slow::pair_site& s = plain.sites[v];
            s.gap = slow::pair_gap(distance[v], K_gap);
            rows.push_back(s.allele);
            gap.push_back(make_diploid_gap(distance[v], K_gap));
            emission.push_back(s.emission);
            requests.push_back({s.draw != slow::pair_draw::none, s.draw == slow::pair_draw::order, true});
        }
        alleles = pack_rows(rows, static_cast<std::size_t>(plain.K));
    }
    pair_problem problem() const {
        pair_problem p;
        p.ordered = ordered;
        p.n_states = static_cast<std::size_t>(plain.K);
        p.n_sites = plain.sites.size();
        p.worth_of_classes = worth_of_classes;
        p.gap = gap.data();
        p.alleles = alleles.data();
        p.words = bits::words_for(p.n_states);
        p.emission = emission.data();
        p.pr_00 = plain.pr_00;
        p.pr_01 = plain.pr_01;
        p.pr_10 = plain.pr_10;
        p.checkpoint_interval = interval;
        return p;
    }
    void set_rates(const pair_rates& rates) {
        plain.pr_00 = rates.pr_00;
        plain.pr_01 = rates.pr_01;
        plain.pr_10 = rates.pr_10;
    }
};
using unordered_case = pair_case<slow::diploid_model>;
using ordered_case = pair_case<slow::ordered_model>;

// Checkpoints on every interval-th site from the right.
inline void set_checkpoints(unordered_case& c, std::size_t interval) {
    c.plain.mem_save = true;
    c.plain.interval = c.interval = interval;
    const std::size_t n = c.plain.sites.size();
    for (std::size_t v = 0; v < n; ++v) c.plain.sites[v].kept = (n - 1 - v) % interval == 0;
}

// A genotype 0, 1, 2, or 3 for missing.
inline void set_genotype(slow::pair_site& s, int g, const pair_rates& rates) {
    s.emission = rates.genotype(g);
    s.draw = g == 3 ? slow::pair_draw::genotype : g == 1 ? slow::pair_draw::order : slow::pair_draw::none;
}

// A genotype known by its probabilities.
inline void set_probabilities(input_source& source, slow::pair_site& s) {
    const double het = source.uniform();
    s.emission = {source.uniform(), het, het, source.uniform()};
    s.draw = slow::pair_draw::genotype;
}

// A site of random genotype, or of known phase in an ordered problem.
template <typename Case>
void fill_site(input_source& source, Case& c, std::size_t v, const pair_rates& rates, double missing) {
    slow::pair_site& s = c.plain.sites[v];
    if (Case::ordered && source.chance(0.5)) {
        s.emission = rates.ordered(source.integer(0, 1), source.integer(0, 1));
        s.draw = slow::pair_draw::none;
        return;
    }
    set_genotype(s, source.chance(missing) ? 3 : source.integer(0, 2), rates);
    if (source.chance(0.1)) set_probabilities(source, s);
}

template <typename Case>
Case random_case(input_source& source, int K, int n_sites, double mu, double missing) {
    Case c;
    const pair_rates rates(mu);
    c.plain.K = K;
    c.set_rates(rates);
    c.plain.sites.resize(static_cast<std::size_t>(n_sites));
    c.K_gap = source.integer(0, 1) == 0 ? std::max(K, 1) : K + source.integer(1, 400);
    for (std::size_t v = 0; v < c.plain.sites.size(); ++v) {
        c.plain.sites[v].allele = random_row(source, K);
        c.distance.push_back(random_distance(source));
        fill_site(source, c, v, rates, missing);
    }
    c.finish();
    return c;
}

// --- states that are copies of few different haplotypes -------------------------------------------------------------

enum class stretch { copies, different };

// A stretch of sites where the states are copies of n_patterns haplotypes, or all different. The individual is mostly
// made of two of the states.
inline void append_stretch(input_source& source, unordered_case& c, stretch kind, std::size_t n_sites, int n_patterns,
                           double mu) {
    const pair_rates rates(mu);
    const auto K = static_cast<std::size_t>(c.plain.K);
    std::vector<std::size_t> pattern(K);
    for (std::size_t& p : pattern) p = static_cast<std::size_t>(source.integer(0, n_patterns - 1));
    const auto first = static_cast<std::size_t>(source.integer(0, c.plain.K - 1));
    const auto second = static_cast<std::size_t>(source.integer(0, c.plain.K - 1));
    for (std::size_t i = 0; i < n_sites; ++i) {
        const std::vector<int> of_pattern = random_row(source, n_patterns);
        slow::pair_site s;
        for (const std::size_t p : pattern) {
            s.allele.push_back(kind == stretch::copies ? of_pattern[p] : source.integer(0, 1));
        }
        const int copied = s.allele[first] + s.allele[second];
        set_genotype(s, source.chance(0.15) ? 3 : source.chance(0.02) ? source.integer(0, 2) : copied, rates);
        if (source.chance(0.05)) set_probabilities(source, s);
        c.plain.sites.push_back(s);
        c.distance.push_back(source.chance(0.6) ? source.uniform(0.0, 0.5) : random_distance(source));
    }
}

inline unordered_case empty_case(input_source& source, int K, double mu) {
    unordered_case c;
    c.plain.K = K;
    c.set_rates(pair_rates(mu));
    c.K_gap = source.chance(0.5) ? K : K + source.integer(1, 400);
    return c;
}

// Stretches of both kinds in turn.
inline unordered_case copied_case(input_source& source, int K, int n_patterns, std::size_t n_sites, double mu) {
    unordered_case c = empty_case(source, K, mu);
    stretch kind = source.chance(0.5) ? stretch::copies : stretch::different;
    while (c.plain.sites.size() < n_sites) {
        const auto length =
            static_cast<std::size_t>(kind == stretch::copies ? source.integer(6, 60) : source.integer(2, 20));
        append_stretch(source, c, kind, std::min(length, n_sites - c.plain.sites.size()), n_patterns, mu);
        kind = kind == stretch::copies ? stretch::different : stretch::copies;
    }
    c.finish();
    return c;
}

// How many blocks of the last sweep went by classes, and how many by pairs.
struct block_counts {
    int by_class = 0, by_pair = 0;

    void add(const pair_tables& tables) {
        for (const pair_block& block : tables.blocks) ++(block.by_class ? by_class : by_pair);
    }
};

// --- all paths -----------------------------------------------------------------------------------------------------

// A path of ordered pairs, a * K + b.
using state_path = std::vector<int>;

// Calls visit(path, weight) for all paths of ordered pairs, unnormalised.
inline void for_all_paths(const slow::diploid_model& m, const std::function<void(const state_path&, double)>& visit) {
    const std::size_t n = m.sites.size();
    state_path p(n, 0);
    const std::function<void(std::size_t, double)> extend = [&](std::size_t v, double weight) {
        if (v == n) {
            visit(p, weight);
            return;
        }
        const slow::pair_site& s = m.sites[v];
        for (int a = 0; a < m.K; ++a) {
            for (int b = 0; b < m.K; ++b) {
                p[v] = a * m.K + b;
                double step = 1.0 / (m.K * m.K);
                if (v > 0) {
                    const auto& h = s.gap.dip_hap_trans;
                    step = h[a != p[v - 1] / m.K] * h[b != p[v - 1] % m.K];
                }
                extend(v + 1, weight * step * m.emission(s, a, b));
            }
        }
    };
    extend(0, 1.0);
}

// Few states and sites, all of whose paths can be looked at.
inline unordered_case small_case(input_source& source, int K, int n_sites, int K_gap) {
    unordered_case c = random_case<unordered_case>(source, K, n_sites, 0.1, 0.3);
    c.K_gap = K_gap;
    for (std::size_t v = 0; v < c.plain.sites.size(); ++v) {
        for (int& allele : c.plain.sites[v].allele) allele = source.integer(0, 1);
        c.distance[v] = source.uniform(0.0, 3.0);
    }
    c.finish();
    return c;
}
