#include "inference/pairs/pair_model.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "inference/inference_tools.h"
#include "inference/kernels/kernels.h"
#include "inference/pairs/pair_cases.h"
#include "inference/pairs/pair_store.h"

namespace {

struct walk_kind {
    bool sample, backward, in_turns;
};
constexpr std::array<walk_kind, 6> all_kinds{{{true, true, false},
                                              {true, false, false},
                                              {false, true, false},
                                              {true, true, true},
                                              {true, false, true},
                                              {false, true, true}}};

std::array<double, 4> shares(const pair_problem& problem, std::array<double, 4> weights) {
    double sum = 0.0;
    if (!problem.ordered) {
        EXPECT_EQ(0.0, weights[2]) << "all that is heterozygous stands at one place";
    }
    for (const double w : weights) sum += w;
    for (double& w : weights) w /= sum;
    return weights;
}

// The four shares as they are told apart: an unordered problem knows no order.
std::array<double, 4> told_apart(bool ordered, std::array<double, 4> share) {
    return ordered ? share : std::array<double, 4>{share[0], share[1] + share[2], 0.0, share[3]};
}

template <typename Case>
void expect_agreement(Case& c, const walk_kind& kind, int seed, pair_tables& tables, std::size_t keep_every) {
    double plain_next = 0.0, plain_L = 0.0;
    {
        seeded_draws draws(seed);
        plain_L = c.plain.forward();
        if (kind.in_turns) {
            c.plain.walk_in_turns(kind.sample, kind.backward);
        } else {
            c.plain.walk_by_site(kind.sample, kind.backward);
        }
        plain_next = draws.next();
    }
    pair_problem problem = c.problem();
    problem.keep_every = keep_every;
    pair_results results;
    seeded_draws draws(seed);
    EXPECT_PRED3(nearly_equal, plain_L, pair_forward(problem, tables), 1e-12);
    pair_walk(problem, tables, {kind.sample, kind.backward, kind.in_turns, false}, c.requests, results);
    EXPECT_EQ(plain_next, draws.next()) << "another number of draws";
    for (std::size_t v = 0; v < c.plain.sites.size(); ++v) {
        const slow::pair_site& s = c.plain.sites[v];
        if (kind.sample) {
            EXPECT_EQ((std::array<int, 2>{s.state_a, s.state_b}), as_plain(results.state[v])) << "site " << v;
            if (s.draw != slow::pair_draw::none) {
                EXPECT_EQ(s.drawn, (std::array<int, 2>{results.alleles[v][0], results.alleles[v][1]})) << "site " << v;
            }
        }
        if (!kind.backward || c.plain.K < 1) continue;
        const auto expected = told_apart(Case::ordered, slow::pair_shares(s));
        const auto found = shares(problem, results.weights[v]);
        for (std::size_t i = 0; i < 4; ++i) {
            if (i == 2 && !Case::ordered) continue;
            EXPECT_PRED3(nearly_equal, expected[i], found[i], 1e-12) << "site " << v << " class " << i;
        }
    }
    if (kind.sample) {
        EXPECT_EQ(c.plain.stay_count, results.stay_count);
        EXPECT_EQ(c.plain.switch_count, results.switch_count);
    }
}

// Any interval gives the same walk.
std::size_t some_interval(int seed) {
    return 1 + static_cast<std::size_t>(seed) % 7;
}

template <typename Case>
void expect_agreement(Case& c, const walk_kind& kind, int seed, pair_tables& tables) {
    expect_agreement(c, kind, seed, tables, some_interval(seed));
}

template <typename Case>
void expect_agreement_of_all_kinds(const Case& c, int seed, pair_tables& tables, std::size_t keep_every) {
    for (const walk_kind& kind : all_kinds) {
        SCOPED_TRACE("sample " + std::to_string(kind.sample) + " backward " + std::to_string(kind.backward) +
                     " in turns " + std::to_string(kind.in_turns) + " interval " + std::to_string(keep_every));
        Case copy = c;
        expect_agreement(copy, kind, seed, tables, keep_every);
    }
}

template <typename Case>
void expect_agreement_of_all_kinds(const Case& c, int seed) {
    for (const walk_kind& kind : all_kinds) {
        SCOPED_TRACE("sample " + std::to_string(kind.sample) + " backward " + std::to_string(kind.backward) +
                     " in turns " + std::to_string(kind.in_turns));
        for (const double worth_of_classes : {c.worth_of_classes, 0.0}) {
            Case copy = c;
            copy.worth_of_classes = worth_of_classes;
            pair_tables tables;
            expect_agreement(copy, kind, seed, tables);
        }
    }
}

template <typename Case>
class pair_sweeps : public ::testing::Test {};
using both_cases = ::testing::Types<unordered_case, ordered_case>;
TYPED_TEST_SUITE(pair_sweeps, both_cases);

TYPED_TEST(pair_sweeps, agree_with_the_plain_recursion_at_any_number_of_states) {
    input_source source(21);
    for (const int K : {1, 2, 3, 7, 8, 9, 15, 16, 17, 24, 31, 33}) {
        for (const double missing : {0.0, 0.4}) {
            for (const double mu : {1e-6, 1e-2}) {
                SCOPED_TRACE("K " + std::to_string(K) + " missing " + std::to_string(missing) + " mu " +
                             std::to_string(mu));
                expect_agreement_of_all_kinds(
                    random_case<TypeParam>(source, K, source.integer(1, K < 16 ? 25 : 10), mu, missing), K);
            }
        }
    }
}

TYPED_TEST(pair_sweeps, agree_with_the_plain_recursion_around_the_words_of_the_alleles) {
    input_source source(22);
    for (const int K : {63, 64, 65, 70}) {
        TypeParam c = random_case<TypeParam>(source, K, 8, 1e-3, 0.2);
        pair_tables tables;
        expect_agreement(c, all_kinds[0], K, tables);
    }
}

TYPED_TEST(pair_sweeps, agree_where_nothing_is_observed) {
    input_source source(23);
    for (const int n_sites : {1, 2, 12}) {
        TypeParam c = random_case<TypeParam>(source, 9, n_sites, 1e-3, 1.0);
        for (slow::pair_site& s : c.plain.sites) s.emission = {1.0, 1.0, 1.0, 1.0};
        c.finish();
        expect_agreement_of_all_kinds(c, n_sites);
    }
}

TYPED_TEST(pair_sweeps, agree_through_many_divisions) {
    input_source source(24);
    for (const double mu : {1e-4, 1e-12, 1e-20}) {
        TypeParam c = random_case<TypeParam>(source, 6, 120, mu, 0.2);
        const pair_rates rates(mu);
        for (slow::pair_site& s : c.plain.sites) {
            if (!source.chance(0.8)) continue;
            const int a = source.integer(0, 1);
            s.allele.assign(6, a);
            s.emission = rates.genotype(2 - 2 * a);
        }
        c.finish();
        expect_agreement_of_all_kinds(c, 17);
    }
}

TYPED_TEST(pair_sweeps, agree_where_the_tables_were_used_before) {
    input_source source(25);
    pair_tables tables;
    for (const int K : {20, 3, 17, 8, 16}) {
        TypeParam c = random_case<TypeParam>(source, K, source.integer(1, 12), 1e-3, 0.4);
        expect_agreement(c, all_kinds[0], K, tables);
    }
}

TYPED_TEST(pair_sweeps, agree_where_emissions_are_no_probabilities) {
    input_source source(33);
    for (const double odd : {-0.1, 7.0}) {
        for (std::size_t bad = 0; bad < 4; ++bad) {
            TypeParam c = random_case<TypeParam>(source, 6, 4, 1e-3, 0.3);
            c.plain.sites[bad].allele.assign(6, 1);
            c.plain.sites[bad].emission = {0.2, 0.3, 0.3, odd};
            c.finish();
            SCOPED_TRACE("site " + std::to_string(bad));
            for (const walk_kind& kind : {all_kinds[1], all_kinds[4]}) {
                for (int seed = 1; seed < 6; ++seed) {
                    TypeParam copy = c;
                    pair_tables tables;
                    expect_agreement(copy, kind, seed, tables);
                }
            }
        }
    }
}

TYPED_TEST(pair_sweeps, without_states_give_no_state) {
    input_source source(26);
    for (const int n_sites : {1, 5}) {
        TypeParam c = random_case<TypeParam>(source, 0, n_sites, 1e-3, 0.4);
        for (const walk_kind& kind : {all_kinds[1], all_kinds[4]}) {
            TypeParam copy = c;
            pair_tables tables;
            expect_agreement(copy, kind, n_sites, tables);
        }
        pair_tables tables;
        EXPECT_EQ(-std::numeric_limits<double>::infinity(), pair_forward(c.problem(), tables));
    }
}

TYPED_TEST(pair_sweeps, fall_to_the_last_pair_when_no_pair_explains_the_data) {
    input_source source(27);
    const pair_rates rates(0.0);
    for (std::size_t bad = 0; bad < 6; ++bad) {
        TypeParam c = random_case<TypeParam>(source, 4, 6, 0.0, 0.3);
        for (std::size_t v = 0; v < 6; ++v) {
            c.distance[v] = 3.0;
            c.plain.sites[v].allele = {0, 1, 1, 0};
        }
        c.plain.sites[bad].allele = {1, 1, 1, 1};
        c.plain.sites[bad].emission = rates.genotype(0);
        c.finish();
        SCOPED_TRACE("site " + std::to_string(bad));
        for (const walk_kind& kind : {all_kinds[1], all_kinds[4]}) {
            TypeParam copy = c;
            pair_tables tables;
            expect_agreement(copy, kind, 5, tables);
        }
    }
}

TYPED_TEST(pair_sweeps, products_are_left_in_the_tables_when_asked) {
    input_source source(28);
    TypeParam c = random_case<TypeParam>(source, 9, 7, 1e-2, 0.3);
    c.plain.forward();
    c.plain.walk_by_site(false, true);
    pair_tables tables;
    pair_results results;
    pair_problem problem = c.problem();
    problem.keep_every = 1;
    pair_forward(problem, tables);
    pair_walk(problem, tables, {false, true, false, true}, c.requests, results);
    for (std::size_t v = 0; v < 7; ++v) {
        const double* table = kept_table(tables, v);
        double plain_sum = 0.0, sum = 0.0;
        for (std::size_t a = 0; a < 9; ++a) {
            for (std::size_t b = 0; b < (TypeParam::ordered ? 9 : a + 1); ++b) {
                plain_sum += c.plain.sites[v].product[a][b];
                sum += table[pair_place(problem, a, b)];
            }
        }
        for (std::size_t a = 0; a < 9; ++a) {
            for (std::size_t b = 0; b < (TypeParam::ordered ? 9 : a + 1); ++b) {
                const double expected = c.plain.sites[v].product[a][b];
                EXPECT_NEAR(expected / plain_sum, table[pair_place(problem, a, b)] / sum, 1e-12);
            }
        }
    }
}

TYPED_TEST(pair_sweeps, give_the_same_bits_at_every_level_of_the_kernels) {
    input_source source(37);
    const kernels::table& best = kernels::active();
    for (const int K : {1, 8, 23}) {
        TypeParam c = random_case<TypeParam>(source, K, 15, 1e-3, 0.4);
        std::vector<double> expected;
        for (const auto l : {kernels::level::baseline, kernels::level::avx2, kernels::level::avx512}) {
            if (!kernels::available(l)) continue;
            kernels::choose(l);
            seeded_draws draws(K);
            pair_tables tables;
            pair_results results;
            std::vector<double> found{pair_forward(c.problem(), tables)};
            pair_walk(c.problem(), tables, {true, true, false, false}, c.requests, results);
            for (const auto& w : results.weights) found.insert(found.end(), w.begin(), w.end());
            for (const auto& state : results.state) found.insert(found.end(), state.begin(), state.end());
            if (expected.empty()) expected = found;
            EXPECT_EQ(expected, found) << "level " << static_cast<int>(l) << " K " << K;
        }
    }
    EXPECT_EQ(&best, &kernels::active()) << "the best level is the last one";
}

// --- unordered pairs against the sum over all ordered pairs of paths ------------------------------------------------

TEST(unordered_pairs, equal_the_sum_over_all_pairs_of_paths) {
    input_source source(29);
    for (const auto& [n_states, n_sites] : {std::pair{1, 5}, {2, 1}, {2, 3}, {2, 5}, {3, 2}, {3, 4}, {4, 3}, {4, 4}}) {
        const int K = n_states;
        for (const int K_gap : {K, K + 7}) {
            const unordered_case c = small_case(source, K, n_sites, K_gap);
            double total = 0.0;
            std::vector<std::array<double, 3>> by_sum(static_cast<std::size_t>(n_sites));
            for_all_paths(c.plain, [&](const state_path& p, double weight) {
                total += weight;
                for (std::size_t v = 0; v < p.size(); ++v) {
                    const auto& allele = c.plain.sites[v].allele;
                    const int sum =
                        allele[static_cast<std::size_t>(p[v] / K)] + allele[static_cast<std::size_t>(p[v] % K)];
                    by_sum[v][static_cast<std::size_t>(sum)] += weight;
                }
            });
            pair_tables tables;
            pair_results results;
            EXPECT_NEAR(std::log10(total), pair_forward(c.problem(), tables), 1e-12);
            pair_walk(c.problem(), tables, {false, true, false, false}, c.requests, results);
            for (std::size_t v = 0; v < by_sum.size(); ++v) {
                const auto found = shares(c.problem(), results.weights[v]);
                EXPECT_NEAR(by_sum[v][0] / total, found[0], 1e-12);
                EXPECT_NEAR(by_sum[v][1] / total, found[1], 1e-12);
                EXPECT_NEAR(by_sum[v][2] / total, found[3], 1e-12);
            }
        }
    }
}

// The pair at the last site is drawn without an order, the larger state first; the path to its left is then one of
// ordered pairs.
TEST(unordered_pairs, paths_are_drawn_by_their_posterior) {
    input_source source(30);
    constexpr int n_draws = 4000;
    for (const auto& [K, n_sites] : {std::pair{2, 3}, {3, 2}, {3, 3}}) {
        const unordered_case c = small_case(source, K, n_sites, K);
        std::map<state_path, double> chances;
        double total = 0.0;
        for_all_paths(c.plain, [&](const state_path& p, double weight) {
            total += weight;
            const int a = p.back() / c.plain.K, b = p.back() % c.plain.K;
            if (a >= b) chances[p] += a == b ? weight : 2.0 * weight;
        });
        for (auto& [p, weight] : chances) weight /= total;
        for (const bool in_turns : {false, true}) {
            seeded_draws draws(77);
            pair_tables tables;
            pair_results results;
            pair_forward(c.problem(), tables);
            std::map<state_path, int> counts;
            for (int i = 0; i < n_draws; ++i) {
                pair_walk(c.problem(), tables, {true, false, in_turns, false}, c.requests, results);
                state_path p;
                for (const auto& [a, b] : results.state) p.push_back(as_plain(a) * c.plain.K + as_plain(b));
                ++counts[p];
            }
            expect_frequencies(counts, chances, n_draws);
        }
    }
}

TEST(unordered_pairs, of_one_state_still_take_the_draw_of_the_order) {
    input_source source(31);
    unordered_case c = random_case<unordered_case>(source, 1, 5, 1e-2, 0.0);
    for (slow::pair_site& s : c.plain.sites) s.draw = slow::pair_draw::none;
    c.finish();
    pair_tables tables;
    pair_results results;
    double next = 0.0;
    {
        seeded_draws draws(4);
        pair_forward(c.problem(), tables);
        pair_walk(c.problem(), tables, {true, false, false, false}, c.requests, results);
        next = draws.next();
    }
    seeded_draws draws(4);
    for (int i = 0; i < 1 + 2 * 4; ++i) draws.next();
    EXPECT_EQ(draws.next(), next);
    for (const auto& state : results.state) EXPECT_EQ((state_pair{0, 0}), state);
    EXPECT_EQ(4, results.stay_count);
    EXPECT_EQ(0, results.switch_count);
}

// The order of two states follows from who stays and who moves on the way to the site to the right.
TEST(unordered_pairs, tell_how_sure_the_order_of_a_path_is) {
    input_source source(33);
    std::size_t n_sure = 0, n_open = 0;
    for (int i = 0; i < 20; ++i) {
        const unordered_case c = random_case<unordered_case>(source, 5, 12, 1e-2, 0.1);
        const pair_problem p = c.problem();
        pair_tables tables;
        pair_results results;
        seeded_draws draws(i);
        pair_forward(p, tables);
        pair_walk(p, tables, {true, false, false, false}, c.requests, results);
        for (std::size_t v = 0; v + 1 < p.n_sites; ++v) {
            const auto [a, b] = results.state[v];
            const auto [x, y] = results.state[v + 1];
            const diploid_gap& gap = p.gap[v + 1];
            const double kept = gap.hap(a != x) * gap.hap(b != y), turned = gap.hap(b != x) * gap.hap(a != y);
            const bool open = a == b || x == y;
            const double expected = open ? 0.0 : (kept - turned) / (kept + turned);
            EXPECT_NEAR(expected, results.order_kept[v], 1e-12);
            ++(open ? n_open : n_sure);
        }
        for (std::size_t v = 0; v < p.n_sites; ++v) {
            if (!c.requests[v].heterozygous) continue;
            const std::size_t a = p.allele(v, results.state[v][0]), b = p.allele(v, results.state[v][1]);
            const double p01 = p.pr_01[a][b], p10 = p.pr_10[a][b];
            EXPECT_NEAR((p10 - p01) / (p10 + p01), results.first_is_one[v], 1e-12);
        }
    }
    EXPECT_GT(n_sure, 0U);
    EXPECT_GT(n_open, 0U);
}

TEST(unordered_pairs, tell_no_allele_one_where_only_00_can_be_seen) {
    input_source source(32);
    unordered_case c = random_case<unordered_case>(source, 3, 6, 0.0, 0.0);
    for (std::size_t v = 0; v < 6; ++v) {
        c.distance[v] = 1.0;
        c.plain.sites[v].allele = {0, 0, 0};
        c.plain.sites[v].emission = {1.0, 1.0, 1.0, 1.0};
        c.plain.sites[v].draw = slow::pair_draw::genotype;
    }
    c.finish();
    pair_tables tables;
    pair_results results;
    seeded_draws draws(4);
    pair_forward(c.problem(), tables);
    pair_walk(c.problem(), tables, {true, false, false, false}, c.requests, results);
    for (const auto& alleles : results.alleles) EXPECT_EQ((std::array<std::uint8_t, 2>{0, 0}), alleles);
}

// The alleles of a heterozygote and of a missing genotype follow the tables of the copied pair.
TEST(unordered_pairs, alleles_are_drawn_by_the_copied_pair) {
    constexpr int n_draws = 4000;
    const pair_rates rates(0.1);
    for (int x = 0; x <= 1; ++x) {
        for (const auto draw : {slow::pair_draw::order, slow::pair_draw::genotype}) {
            unordered_case c;
            c.plain.K = 1;
            c.set_rates(rates);
            c.plain.sites.resize(1);
            c.plain.sites[0].allele = {x};
            c.plain.sites[0].emission = rates.genotype(3);
            c.plain.sites[0].draw = draw;
            c.distance = {0.0};
            c.finish();
            std::map<std::vector<int>, double> chances;
            const auto i = static_cast<std::size_t>(x);
            const double p00 = rates.pr_00[i][i], p01 = rates.pr_01[i][i], p10 = rates.pr_10[i][i];
            if (draw == slow::pair_draw::order) {
                chances = {{{0, 1}, p01 / (p01 + p10)}, {{1, 0}, p10 / (p01 + p10)}};
            } else {
                chances = {{{0, 0}, p00}, {{0, 1}, p01}, {{1, 0}, p10}, {{1, 1}, 1.0 - p00 - p01 - p10}};
            }
            seeded_draws draws(12);
            pair_tables tables;
            pair_results results;
            std::map<std::vector<int>, int> counts;
            pair_forward(c.problem(), tables);
            for (int n = 0; n < n_draws; ++n) {
                pair_walk(c.problem(), tables, {true, false, false, false}, c.requests, results);
                ++counts[{results.alleles[0][0], results.alleles[0][1]}];
            }
            expect_frequencies(counts, chances, n_draws);
        }
    }
}

// --- checkpoints ----------------------------------------------------------------------------------------------------

TEST(pair_checkpoints, agree_with_the_plain_recursion_left_of_the_last_one_too) {
    input_source source(33);
    for (const int K : {1, 3, 8, 9, 17}) {
        for (const auto& [n_sites, interval] :
             {std::pair{3, 4}, {4, 2}, {5, 2}, {9, 3}, {11, 3}, {12, 3}, {26, 5}, {8, 1}}) {
            unordered_case c = random_case<unordered_case>(source, K, n_sites, 1e-3, 0.3);
            set_checkpoints(c, static_cast<std::size_t>(interval));
            SCOPED_TRACE("K " + std::to_string(K) + " sites " + std::to_string(n_sites) + " interval " +
                         std::to_string(interval));
            for (const walk_kind& kind : {all_kinds[0], all_kinds[1], all_kinds[2], all_kinds[4]}) {
                unordered_case copy = c;
                pair_tables tables;
                expect_agreement(copy, kind, K, tables);
            }
        }
    }
}

TEST(pair_checkpoints, agree_through_many_divisions) {
    input_source source(34);
    unordered_case c = random_case<unordered_case>(source, 6, 100, 1e-15, 0.2);
    for (slow::pair_site& s : c.plain.sites) {
        s.allele.assign(6, 1);
        if (source.chance(0.5)) s.allele[0] = 0;
    }
    c.finish();
    set_checkpoints(c, 10);
    for (const walk_kind& kind : {all_kinds[0], all_kinds[1], all_kinds[2]}) {
        unordered_case copy = c;
        pair_tables tables;
        expect_agreement(copy, kind, 3, tables);
    }
}

TEST(pair_checkpoints, change_nothing_right_of_the_leftmost_one) {
    input_source source(35);
    for (const std::size_t interval : {1U, 2U, 4U, 6U}) {
        constexpr int n_sites = 39;
        unordered_case c = random_case<unordered_case>(source, 10, n_sites, 1e-3, 0.5);
        pair_tables full_tables, kept_tables;
        pair_results full, kept;
        double full_L = 0.0, kept_L = 0.0;
        {
            seeded_draws draws(3);
            full_L = pair_forward(c.problem(), full_tables);
            pair_walk(c.problem(), full_tables, {true, true, false, false}, c.requests, full);
        }
        set_checkpoints(c, interval);
        {
            seeded_draws draws(3);
            kept_L = pair_forward(c.problem(), kept_tables);
            pair_walk(c.problem(), kept_tables, {true, true, false, false}, c.requests, kept);
        }
        EXPECT_PRED3(nearly_equal, full_L, kept_L, 1e-12);
        const std::size_t leftmost = (n_sites - 1) % interval;
        EXPECT_TRUE(c.plain.sites[leftmost].kept);
        for (std::size_t v = leftmost; v < n_sites; ++v) {
            EXPECT_EQ(full.state[v], kept.state[v]);
            if (c.plain.sites[v].draw != slow::pair_draw::none) {
                EXPECT_EQ(full.alleles[v], kept.alleles[v]);
            }
            const auto a = shares(c.problem(), full.weights[v]), b = shares(c.problem(), kept.weights[v]);
            for (std::size_t i = 0; i < 4; ++i) EXPECT_NEAR(a[i], b[i], 1e-12);
        }
    }
}

TEST(pair_checkpoints, leave_their_block_to_the_next_sweep_of_the_same_size) {
    input_source source(36);
    pair_tables tables;
    std::vector<slow::pair_matrix> local;
    for (int repeat = 0; repeat < 4; ++repeat) {
        unordered_case c = random_case<unordered_case>(source, 9, 11, 1e-3, 0.4);
        set_checkpoints(c, 4);
        c.plain.local = local;
        expect_agreement(c, all_kinds[0], repeat, tables);
        local = c.plain.local;
    }
}

// --- states that are copies of few different haplotypes -------------------------------------------------------------

int blocks_by_class(const pair_tables& tables) {
    block_counts counts;
    counts.add(tables);
    return counts.by_class;
}

// The blocks follow each other from the first site to the last, and the tables at their ends are kept.
void expect_chain_of_blocks(const pair_tables& tables, std::size_t n_sites, std::size_t keep_every) {
    std::size_t at = 0;
    for (const pair_block& block : tables.blocks) {
        EXPECT_EQ(at, block.first);
        EXPECT_GT(block.last, block.first);
        EXPECT_LE(block.last - block.first, keep_every);
        EXPECT_TRUE(keeps_table(tables, block.first));
        EXPECT_TRUE(keeps_table(tables, block.last));
        at = block.last;
    }
    EXPECT_EQ(n_sites - 1, at);
}

TEST(pairs_of_copies, agree_with_the_plain_recursion) {
    input_source source(41);
    block_counts counts;
    for (const int K : {16, 20, 27, 40, 80}) {
        for (const int n_patterns : {3, 4, 6}) {
            if (n_patterns > K / 4) continue;
            unordered_case c =
                copied_case(source, K, n_patterns, static_cast<std::size_t>(source.integer(70, 130)), 1e-3);
            c.worth_of_classes = n_patterns == 4 ? 0.75 : 2.0;
            SCOPED_TRACE("K " + std::to_string(K) + " patterns " + std::to_string(n_patterns));
            for (const std::size_t keep_every : {48U, 16U}) {
                pair_tables tables;
                expect_agreement_of_all_kinds(c, K + n_patterns, tables, keep_every);
                expect_chain_of_blocks(tables, c.plain.sites.size(), keep_every);
                counts.add(tables);
            }
        }
    }
    EXPECT_GT(counts.by_class, 40);
    EXPECT_GT(counts.by_pair, 30);
}

TEST(pairs_of_copies, agree_at_any_interval) {
    input_source source(42);
    const unordered_case c = copied_case(source, 16, 4, 90, 1e-3);
    for (const std::size_t keep_every : {1U, 2U, 5U, 6U, 7U, 8U, 13U, 17U, 47U, 1000U}) {
        pair_tables tables;
        expect_agreement_of_all_kinds(c, 4, tables, keep_every);
        expect_chain_of_blocks(tables, c.plain.sites.size(), keep_every);
        if (keep_every < 3) {
            EXPECT_EQ(0, blocks_by_class(tables)) << "a shorter block is not worth its classes";
        } else if (keep_every > 5) {
            EXPECT_GT(blocks_by_class(tables), 0);
        }
    }
}

TEST(pairs_of_copies, agree_for_many_draws) {
    input_source source(43);
    for (const int K : {16, 21}) {
        const unordered_case c = copied_case(source, K, 4, 100, 1e-2);
        pair_tables tables;
        for (int seed = 1; seed <= 20; ++seed) {
            for (const walk_kind& kind : {all_kinds[0], all_kinds[1], all_kinds[4]}) {
                unordered_case copy = c;
                expect_agreement(copy, kind, seed, tables, 48);
            }
        }
    }
}

TEST(pairs_of_copies, agree_in_more_classes_than_a_word_has_bits) {
    input_source source(44);
    constexpr std::size_t n_patterns = 68;
    unordered_case c = empty_case(source, 4 * n_patterns + 3, 1e-3);
    append_stretch(source, c, stretch::copies, 14, 1, 1e-3);
    for (slow::pair_site& s : c.plain.sites) {
        for (std::size_t k = 0; k < s.allele.size(); ++k) {
            s.allele[k] = k < n_patterns ? source.integer(0, 1) : s.allele[k % n_patterns];
        }
        set_genotype(s, source.chance(0.2) ? 3 : s.allele[1] + s.allele[66], pair_rates(1e-3));
    }
    c.finish();
    pair_tables tables;
    expect_agreement(c, all_kinds[0], 3, tables, 48);
    ASSERT_EQ(1U, tables.blocks.size());
    EXPECT_TRUE(tables.blocks[0].by_class);
    EXPECT_GT(tables.classes.n_classes(), bits::word_bits);
}

// Blocks by classes end where the values are scaled.
TEST(pairs_of_copies, agree_through_many_divisions) {
    input_source source(45);
    int n_ended = 0, n_scaled = 0;
    for (const double mu : {1e-4, 1e-12, 1e-20, 1e-40}) {
        for (const int K : {16, 25}) {
            unordered_case c = copied_case(source, K, 4, 110, mu);
            const pair_rates rates(mu);
            for (slow::pair_site& s : c.plain.sites) {
                if (!source.chance(0.3)) continue;
                const int a = source.integer(0, 1);
                s.allele.assign(s.allele.size(), a);
                set_genotype(s, 2 - 2 * a, rates);
            }
            c.finish();
            SCOPED_TRACE("K " + std::to_string(K) + " mu " + std::to_string(mu));
            pair_tables tables;
            expect_agreement_of_all_kinds(c, 17, tables, 48);
            expect_chain_of_blocks(tables, 110, 48);
            for (const pair_block& block : tables.blocks) {
                if (!block.by_class) continue;
                for (std::size_t v = block.first + 1; v < block.last; ++v) EXPECT_EQ(1.0, tables.scale[v]);
                if (tables.scale[block.last] != 1.0) ++n_ended;
            }
            for (const double scale : tables.scale) n_scaled += scale != 1.0 ? 1 : 0;
        }
    }
    EXPECT_GT(n_ended, 30);
    EXPECT_GT(n_scaled, n_ended);
}

TEST(pairs_of_copies, agree_where_all_states_have_one_allele) {
    input_source source(46);
    for (const int K : {8, 17, 40}) {
        unordered_case c = empty_case(source, K, 1e-3);
        append_stretch(source, c, stretch::copies, 75, 1, 1e-3);
        c.finish();
        pair_tables tables;
        expect_agreement_of_all_kinds(c, K, tables, 48);
        ASSERT_EQ(2U, tables.blocks.size());
        for (const pair_block& block : tables.blocks) EXPECT_TRUE(block.by_class);
    }
}

TEST(pairs_of_copies, agree_at_distances_that_all_or_no_memory_survives) {
    input_source source(47);
    for (const double far : {0.0, 0.2, 1.0}) {
        for (const int K : {16, 22}) {
            unordered_case c = copied_case(source, K, 4, 80, 1e-2);
            for (double& d : c.distance) d = source.chance(far) ? 1e9 : 0.0;
            c.finish();
            pair_tables tables;
            expect_agreement_of_all_kinds(c, K, tables, 48);
            EXPECT_GT(blocks_by_class(tables), 0);
        }
    }
}

TEST(pairs_of_copies, agree_where_emissions_are_probabilities_of_genotypes) {
    input_source source(48);
    for (const int K : {16, 33}) {
        unordered_case c = copied_case(source, K, 4, 100, 1e-3);
        for (slow::pair_site& s : c.plain.sites) {
            set_probabilities(source, s);
            if (!source.chance(0.2)) continue;
            // The genotype is certain, or nearly so.
            const double other = source.chance(0.5) ? 0.0 : 1e-30;
            s.emission = {1.0, other, other, other};
        }
        c.finish();
        pair_tables tables;
        expect_agreement_of_all_kinds(c, K, tables, 48);
        EXPECT_GT(blocks_by_class(tables), 0);
    }
}

TEST(pairs_of_copies, agree_where_emissions_are_no_probabilities) {
    input_source source(49);
    for (const double odd : {-0.1, 7.0}) {
        for (const std::size_t bad : {3U, 20U, 41U}) {
            unordered_case c = empty_case(source, 16, 1e-3);
            append_stretch(source, c, stretch::copies, 60, 4, 1e-3);
            c.plain.sites[bad].allele.assign(16, 1);
            c.plain.sites[bad].emission = {0.2, 0.3, 0.3, odd};
            c.finish();
            SCOPED_TRACE("site " + std::to_string(bad) + " emission " + std::to_string(odd));
            for (const walk_kind& kind : {all_kinds[1], all_kinds[4]}) {
                pair_tables tables;
                unordered_case copy = c;
                expect_agreement(copy, kind, 7, tables, 48);
                EXPECT_TRUE(tables.blocks.front().by_class);
            }
        }
    }
}

TEST(pairs_of_copies, fall_to_the_last_pair_when_no_pair_explains_the_data) {
    input_source source(50);
    const pair_rates rates(0.0);
    for (const std::size_t bad : {0U, 1U, 9U, 48U, 49U, 59U}) {
        unordered_case c = empty_case(source, 18, 0.0);
        for (const stretch kind : {stretch::copies, stretch::different, stretch::copies}) {
            append_stretch(source, c, kind, 20, 3, 0.0);
        }
        // The first two states explain all sites but one.
        for (std::size_t v = 0; v < 60; ++v) {
            c.distance[v] = 3.0;
            c.plain.sites[v].allele[0] = 0;
            c.plain.sites[v].allele[1] = v < 20 || v >= 40 ? 0 : 1;
            set_genotype(c.plain.sites[v], c.plain.sites[v].allele[1], rates);
        }
        c.plain.sites[bad].allele.assign(18, 1);
        set_genotype(c.plain.sites[bad], 0, rates);
        c.finish();
        SCOPED_TRACE("site " + std::to_string(bad));
        for (const walk_kind& kind : {all_kinds[1], all_kinds[4]}) {
            pair_tables tables;
            unordered_case copy = c;
            expect_agreement(copy, kind, 5, tables, 48);
            EXPECT_EQ((std::array<int, 2>{17, 17}),
                      (std::array<int, 2>{copy.plain.sites.back().state_a, copy.plain.sites.back().state_b}));
            EXPECT_GT(blocks_by_class(tables), 0);
        }
    }
}

TEST(pairs_of_copies, agree_where_the_tables_were_used_before) {
    input_source source(51);
    pair_tables tables;
    for (const int K : {40, 16, 3, 70, 17, 40}) {
        for (const walk_kind& kind : {all_kinds[0], all_kinds[1], all_kinds[2]}) {
            unordered_case c = copied_case(source, K, 3, static_cast<std::size_t>(source.integer(20, 90)), 1e-3);
            expect_agreement(c, kind, K, tables, 48);
            ordered_case o = random_case<ordered_case>(source, K / 2, 5, 1e-3, 0.2);
            expect_agreement(o, kind, K, tables, 48);
        }
    }
}

// All that a sweep and its walk give.
std::vector<double> results_of(const unordered_case& c, const walk_kind& kind, pair_tables& tables) {
    seeded_draws draws(6);
    pair_results results;
    std::vector<double> all{pair_forward(c.problem(), tables)};
    pair_walk(c.problem(), tables, {kind.sample, kind.backward, kind.in_turns, false}, c.requests, results);
    for (const auto& [a, b] : results.state) all.insert(all.end(), {static_cast<double>(a), static_cast<double>(b)});
    if (kind.backward) {
        for (const auto& w : results.weights) all.insert(all.end(), w.begin(), w.end());
    }
    for (std::size_t v = 0; kind.sample && v < results.alleles.size(); ++v) {
        if (c.requests[v].draw_alleles) all.insert(all.end(), results.alleles[v].begin(), results.alleles[v].end());
    }
    all.push_back(draws.next());
    return all;
}

TEST(pairs_of_copies, give_the_same_bits_at_every_level_of_the_kernels) {
    input_source source(52);
    const kernels::table& best = kernels::active();
    for (const int K : {16, 20, 37, 80}) {
        const unordered_case c = copied_case(source, K, 4, 100, 1e-3);
        for (const walk_kind& kind : all_kinds) {
            std::vector<double> expected;
            for (const auto l : {kernels::level::baseline, kernels::level::avx2, kernels::level::avx512}) {
                if (!kernels::available(l)) continue;
                kernels::choose(l);
                pair_tables tables;
                const std::vector<double> found = results_of(c, kind, tables);
                EXPECT_GT(blocks_by_class(tables), 0);
                if (expected.empty()) expected = found;
                EXPECT_EQ(expected, found) << "level " << static_cast<int>(l) << " K " << K;
            }
        }
    }
    EXPECT_EQ(&best, &kernels::active()) << "the best level is the last one";
}

TEST(pairs_of_copies, agree_under_memory_saving) {
    input_source source(53);
    block_counts counts;
    for (const int K : {16, 29}) {
        for (const std::size_t n_sites : {87U, 90U, 97U}) {
            for (const std::size_t interval : {8U, 11U, 31U, 60U}) {
                unordered_case c = copied_case(source, K, 4, n_sites, 1e-3);
                set_checkpoints(c, interval);
                SCOPED_TRACE("K " + std::to_string(K) + " sites " + std::to_string(n_sites) + " interval " +
                             std::to_string(interval));
                for (const walk_kind& kind : {all_kinds[0], all_kinds[1], all_kinds[2], all_kinds[4]}) {
                    for (const std::size_t keep_every : {1U, 16U, 48U}) {
                        unordered_case copy = c;
                        pair_tables tables;
                        expect_agreement(copy, kind, K, tables, keep_every);
                        counts.add(tables);
                    }
                }
            }
        }
    }
    EXPECT_GT(counts.by_class, 100);
    EXPECT_GT(counts.by_pair, 100);
}

TEST(pairs_of_copies, go_by_pairs_where_pairs_are_ordered) {
    input_source source(54);
    ordered_case ordered = random_case<ordered_case>(source, 16, 30, 1e-3, 0.1);
    for (slow::pair_site& s : ordered.plain.sites) s.allele.assign(16, 0);
    ordered.finish();
    pair_tables tables;
    expect_agreement(ordered, all_kinds[0], 2, tables, 48);
    for (const pair_block& block : tables.blocks) EXPECT_FALSE(block.by_class);
}

// At the share that a run asks for.
TEST(pairs_of_copies, go_by_classes_where_that_saves_time) {
    input_source source(56);
    const struct {
        int n_patterns;
        stretch kind;
        bool by_class;
    } cases[] = {{1, stretch::copies, true}, {4, stretch::copies, true}, {1, stretch::different, false}};
    for (const auto& [n_patterns, kind, by_class] : cases) {
        unordered_case c = empty_case(source, 64, 1e-3);
        append_stretch(source, c, kind, 49, n_patterns, 1e-3);
        c.finish();
        pair_problem problem = c.problem();
        problem.worth_of_classes = pair_problem{}.worth_of_classes;
        pair_tables tables;
        pair_forward(problem, tables);
        for (const pair_block& block : tables.blocks) EXPECT_EQ(by_class, block.by_class);
    }
}

// Undefined values, which must be scaled at every site, would end as many blocks.
TEST(pairs_of_copies, keep_few_tables_of_undefined_values) {
    input_source source(57);
    unordered_case c = empty_case(source, 16, 1e-3);
    append_stretch(source, c, stretch::copies, 200, 2, 1e-3);
    c.plain.sites[10].emission = {0.0, 0.0, 0.0, 0.0};
    c.finish();
    pair_tables tables;
    EXPECT_TRUE(std::isnan(pair_forward(c.problem(), tables)));
    EXPECT_LT(tables.n_kept, 20);
}

}  // namespace
