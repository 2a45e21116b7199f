#include "inference/pairs/pair_paths.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "inference/inference_tools.h"
#include "inference/pairs/pair_cases.h"
#include "inference/pairs/pair_model.h"
#include "inference/pairs/pair_store.h"
#include "inference/pairs/phase_paths.h"
#include "random/random.h"

namespace {

// The pairs of a path without their order, the larger state first.
state_path without_order(const state_path& ordered, int K) {
    state_path p;
    for (const int pair : ordered) p.push_back(std::max(pair / K, pair % K) * K + std::min(pair / K, pair % K));
    return p;
}

state_path drawn_path(const pair_problem& problem, pair_tables& tables, const std::vector<pair_request>& requests,
                      Random& draws, pair_results& results) {
    draw_pair_path(problem, tables, requests, draws, results);
    state_path p;
    for (const auto& [a, b] : results.state)
        p.push_back(as_plain(a) * static_cast<int>(problem.n_states) + as_plain(b));
    return p;
}

void expect_chances_of_all_paths(const unordered_case& c) {
    std::map<state_path, double> chances;
    double total = 0.0;
    for_all_paths(c.plain, [&](const state_path& p, double weight) {
        total += weight;
        chances[without_order(p, c.plain.K)] += weight;
    });
    for (auto& [p, weight] : chances) weight /= total;
    constexpr int n_draws = 20000;
    SplitMix draws(78);
    pair_tables tables;
    pair_results results;
    std::map<state_path, int> counts;
    pair_forward(c.problem(), tables);
    for (int i = 0; i < n_draws; ++i) ++counts[drawn_path(c.problem(), tables, c.requests, draws, results)];
    expect_frequencies(counts, chances, n_draws);
}

TEST(pair_paths, are_drawn_by_their_posterior) {
    input_source source(41);
    for (const auto& [K, n_sites] : {std::pair{2, 1}, {2, 3}, {2, 6}, {3, 2}, {3, 4}, {3, 5}}) {
        for (const int K_gap : {K, K + 7}) {
            SCOPED_TRACE("K " + std::to_string(K) + " sites " + std::to_string(n_sites));
            expect_chances_of_all_paths(small_case(source, K, n_sites, K_gap));
        }
    }
}

TEST(pair_paths, begin_anew_left_of_a_gap_that_no_state_survives) {
    input_source source(42);
    for (const double distance : {500.0, 1e9}) {
        SCOPED_TRACE(distance);
        unordered_case c = small_case(source, 2, 6, 2);
        c.distance[3] = distance;
        c.finish();
        expect_chances_of_all_paths(c);
    }
}

TEST(pair_paths, keep_their_chances_where_the_sweep_went_by_classes_or_was_scaled) {
    input_source source(43);
    unordered_case c = small_case(source, 3, 5, 3);
    for (slow::pair_site& s : c.plain.sites) s.allele = {0, 1, 0};
    for (double& e : c.plain.sites[2].emission) e *= 1e-120;
    c.finish();
    pair_tables tables;
    pair_forward(c.problem(), tables);
    EXPECT_TRUE(tables.blocks.front().by_class);
    EXPECT_NE(1.0, tables.scale[2]);
    expect_chances_of_all_paths(c);
}

// The states of many more sites than a block has, against the walk that also draws orders.
TEST(pair_paths, hold_each_state_as_often_as_the_walk_does) {
    input_source source(44);
    constexpr int K = 12, n_paths = 4000;
    constexpr std::size_t n_sites = 120;
    const unordered_case c = copied_case(source, K, 3, n_sites, 1e-2);
    pair_tables tables;
    pair_results results;
    const seeded_draws of_the_walk(5);
    SplitMix draws(5);
    pair_forward(c.problem(), tables);
    block_counts blocks;
    blocks.add(tables);
    EXPECT_LT(0, blocks.by_class);
    EXPECT_LT(0, blocks.by_pair);
    std::vector<std::vector<double>> often(2, std::vector<double>(n_sites * K, 0.0));
    for (int i = 0; i < n_paths; ++i) {
        for (const bool walks : {false, true}) {
            if (walks) {
                pair_walk(c.problem(), tables, {true, false, false, false}, c.requests, results);
            } else {
                draw_pair_path(c.problem(), tables, c.requests, draws, results);
            }
            for (std::size_t v = 0; v < n_sites; ++v) {
                for (const std::size_t k : results.state[v]) often[walks ? 1 : 0][v * K + k] += 1.0 / n_paths;
            }
        }
    }
    double farthest = 0.0;
    for (std::size_t i = 0; i < n_sites * K; ++i) farthest = std::max(farthest, std::abs(often[0][i] - often[1][i]));
    EXPECT_LT(farthest, 5.0 / std::sqrt(n_paths));
}

TEST(pair_paths, tell_the_chances_of_their_order_and_of_alleles) {
    input_source source(45);
    const unordered_case c = random_case<unordered_case>(source, 9, 25, 1e-2, 0.1);
    const pair_problem problem = c.problem();
    pair_tables tables;
    pair_results results;
    SplitMix draws(6);
    pair_forward(problem, tables);
    draw_pair_path(problem, tables, c.requests, draws, results);
    EXPECT_EQ(1.0, results.order_kept.back());
    for (std::size_t v = 0; v < problem.n_sites; ++v) {
        EXPECT_GE(results.state[v][0], results.state[v][1]);
        if (v + 1 < problem.n_sites) {
            EXPECT_EQ(2.0 * chance_of_order(problem.gap[v + 1], results.state[v], results.state[v + 1]) - 1.0,
                      results.order_kept[v]);
        }
        EXPECT_EQ(c.requests[v].heterozygous ? first_is_one(problem, v, results.state[v]) : 0.0,
                  results.first_is_one[v]);
    }
}

TEST(pair_paths, leave_the_tables_as_they_are) {
    input_source source(46);
    const unordered_case c = copied_case(source, 20, 4, 100, 1e-3);
    pair_tables tables;
    pair_results first, second;
    pair_forward(c.problem(), tables);
    for (pair_results* results : {&first, &second}) {
        SplitMix draws(7);
        draw_pair_path(c.problem(), tables, c.requests, draws, *results);
    }
    EXPECT_EQ(first.state, second.state);
    EXPECT_EQ(first.order_kept, second.order_kept);
}

TEST(pair_paths, of_one_state_or_of_no_chance_at_all_end) {
    input_source source(47);
    for (const int K : {1, 5}) {
        unordered_case c = random_case<unordered_case>(source, K, 30, 1e-2, 0.0);
        if (K > 1) c.plain.sites[7].emission = {0.0, 0.0, 0.0, 0.0};
        c.finish();
        pair_tables tables;
        pair_results results;
        SplitMix draws(8);
        pair_forward(c.problem(), tables);
        draw_pair_path(c.problem(), tables, c.requests, draws, results);
        for (const auto& [a, b] : results.state) {
            EXPECT_LT(a, c.problem().n_states);
            EXPECT_LE(b, a);
        }
    }
}

}  // namespace
