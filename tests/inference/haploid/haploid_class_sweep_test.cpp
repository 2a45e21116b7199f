#include "inference/haploid/haploid_class_sweep.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "inference/class_tools.h"
#include "inference/haploid/haploid_model.h"
#include "inference/inference_tools.h"
#include "inference/kernels/kernels.h"
#include "inference/slow_haploid.h"
#include "inference/update/posteriors.h"

namespace {

constexpr double negative_infinity = -std::numeric_limits<double>::infinity();

// A haplotype over states of a panel.
struct class_case {
    packed_haplotypes panel;
    std::vector<std::size_t> sites;  // of the store
    std::vector<std::int32_t> hap;   // by state
    std::vector<std::uint8_t> observed;
    std::vector<haploid_gap> gap;
    std::uint64_t gap_version = 1;
    std::vector<haploid_request> requests;
    emission_table M{};

    std::size_t n_sites() const { return sites.size(); }
    int allele(std::size_t v, std::size_t k) const { return panel.allele(static_cast<std::size_t>(hap[k]), sites[v]); }
    void set_states(const std::vector<std::size_t>& haps) { hap.assign(haps.begin(), haps.end()); }
    void set_rate(double mu) { M = {{{1.0 - mu, mu, 1.0}, {mu, 1.0 - mu, 1.0}}}; }
    void set_gap(std::size_t v, double d, std::size_t n) {
        const double n_states = static_cast<double>(n), e = std::exp(-d / n_states), s = (1.0 - e) / n_states;
        gap[v] = {e + s, s, e};
    }
    void set_gaps(const std::function<double()>& distance) {
        gap.assign(n_sites(), {});
        for (std::size_t v = 0; v < n_sites(); ++v) set_gap(v, distance(), hap.size());
    }
    void request(const std::function<bool(std::size_t)>& wanted) {
        requests.assign(n_sites(), {});
        for (std::size_t v = 0; v < n_sites(); ++v) requests[v].posterior = wanted(v);
    }
    // Sees a mosaic of haplotypes of the panel with errors, at a share of the sites.
    void observe(input_source& source, double share, double errors) {
        observed.assign(n_sites(), unobserved);
        const auto any = [&] {
            return static_cast<std::size_t>(source.integer(0, static_cast<int>(panel.n_hap()) - 1));
        };
        std::size_t h = any();
        for (std::size_t v = 0; v < n_sites(); ++v) {
            if (source.chance(0.02)) h = any();
            if (!source.chance(share)) continue;
            const int allele = panel.allele(h, sites[v]);
            observed[v] = static_cast<std::uint8_t>(source.chance(errors) ? 1 - allele : allele);
        }
    }
    // Without the alleles of the states, which sweeps by classes do not need.
    haploid_problem problem() const {
        haploid_problem p;
        p.n_states = hap.size();
        p.n_sites = n_sites();
        p.gap = gap.data();
        p.gap_version = gap_version;
        p.observed = observed.data();
        for (std::size_t a = 0; a < 2; ++a) {
            for (std::size_t o = 0; o < 3; ++o) p.emission[a][o] = M[a][o];
        }
        return p;
    }
    std::vector<std::uint64_t> state_alleles() const {
        std::vector<std::vector<int>> rows(n_sites(), std::vector<int>(hap.size()));
        for (std::size_t v = 0; v < n_sites(); ++v) {
            for (std::size_t k = 0; k < hap.size(); ++k) rows[v][k] = allele(v, k);
        }
        return pack_rows(rows, hap.size());
    }
    slow::haploid_model plain() const {
        slow::haploid_model model;
        model.K = static_cast<int>(hap.size());
        model.M = problem().emission;
        model.sites.resize(n_sites());
        for (std::size_t v = 0; v < n_sites(); ++v) {
            slow::haploid_site& s = model.sites[v];
            for (std::size_t k = 0; k < hap.size(); ++k) s.allele.push_back(allele(v, k));
            s.obs = observed[v];
            s.stay = gap[v].stay;
            s.move = gap[v].move;
            s.diff = gap[v].diff;
        }
        return model;
    }
};

// What stays from sweep to sweep.
struct class_sweeps {
    haplotype_classes classes;
    haploid_tables tables;
    haploid_class_tables by_class;
    haploid_results results;
    double likelihood = 0.0;

    bool run(const class_case& c) {
        const haploid_problem problem = c.problem();
        results.weights.assign(c.n_sites(), {-7.0, -7.0});
        if (!classes.serve(c.panel, c.sites, 1)) return false;
        const auto found = haploid_forward_by_classes(problem, classes, c.hap, tables, by_class);
        if (found) likelihood = *found;
        return found && haploid_posteriors_by_classes(problem, classes, tables, by_class, c.requests, results);
    }
    void run_over_single_states(const class_case& c) {
        const std::vector<std::uint64_t> alleles = c.state_alleles();
        haploid_problem problem = c.problem();
        problem.alleles = alleles.data();
        problem.words = bits::words_for(c.hap.size());
        likelihood = haploid_forward(problem, tables);
        haploid_walk(problem, tables, {false, true, false}, c.requests, results);
    }
};

// Weights of the alleles in the plain model and found ones.
void expect_weights(const slow::haploid_model& plain, const slow::haploid_site& s, const allele_weights& weights,
                    const emission_table& M) {
    allele_weights expected{};
    for (std::size_t k = 0; k < s.allele.size(); ++k) expected[static_cast<std::size_t>(s.allele[k])] += s.product[k];
    for (std::size_t a = 0; a < 2; ++a) {
        const double share = expected[a] / (expected[0] + expected[1]), found = weights[a] / (weights[0] + weights[1]);
        EXPECT_NEAR(share, found, 1e-12);
        if (s.obs == unobserved) continue;
        EXPECT_NEAR(share, found, 1e-10 * share + 1e-200) << "a small weight";
    }
    EXPECT_NEAR(plain.allele_one(s, false), allele_one_chance(weights, M), 1e-12);
    const bool seen_from_both =
        M[0][static_cast<std::size_t>(s.obs)] > 0.0 && M[1][static_cast<std::size_t>(s.obs)] > 0.0;
    if (s.obs != unobserved && seen_from_both) {
        EXPECT_NEAR(plain.allele_one(s, true), allele_one_chance_unseen(weights, M, static_cast<std::size_t>(s.obs)),
                    1e-11);
    }
}

void expect_right_results(const class_case& c, const class_sweeps& sweeps) {
    slow::haploid_model plain = c.plain();
    EXPECT_PRED3(nearly_equal, plain.forward(), sweeps.likelihood, 1e-12);
    plain.walk_in_turns(false, true);
    ASSERT_LE(c.n_sites(), sweeps.results.weights.size());
    for (std::size_t v = 0; v < c.n_sites(); ++v) {
        if (!c.requests[v].posterior) continue;
        SCOPED_TRACE("site " + std::to_string(v));
        expect_weights(plain, plain.sites[v], sweeps.results.weights[v], c.M);
        if (testing::Test::HasNonfatalFailure()) return;  // not a thousand times
    }
}

void expect_agreement(const class_case& c, class_sweeps& sweeps) {
    ASSERT_TRUE(sweeps.run(c));
    expect_right_results(c, sweeps);
}
void expect_agreement(const class_case& c) {
    class_sweeps sweeps;
    expect_agreement(c, sweeps);
}
void expect_single_states_to_agree(const class_case& c, class_sweeps& sweeps) {
    sweeps.run_over_single_states(c);
    expect_right_results(c, sweeps);
}
void expect_refusal(const class_case& c, class_sweeps& sweeps) {
    EXPECT_FALSE(sweeps.run(c));
    expect_single_states_to_agree(c, sweeps);
}

// A distance over which states are remembered for some sites.
double short_distance(input_source& source) {
    return source.chance(0.2) ? 0.0 : source.uniform(0.0, 0.3);
}

struct case_sizes {
    std::size_t n_hap, n_states, n_sites;
};

class_case make_case(input_source& source, const case_sizes& n, double share = 0.3, double errors = 0.02) {
    mosaic_panel m;
    m.n_hap = n.n_hap;
    m.n_sites = n.n_sites + 70;
    m.n_founders = n.n_hap < 100 ? 3 : 6;
    m.switch_chance = m.mutation_chance = source.chance(0.5) ? 1e-4 : 4e-4;
    class_case c;
    c.panel = make_panel(source, m);
    const auto first = static_cast<std::size_t>(source.integer(0, 70));
    c.sites = source.chance(0.5) ? consecutive(first, n.n_sites) : choose_ascending(source, n.n_sites, 0, m.n_sites);
    c.set_states(choose_ascending(source, n.n_states, 0, n.n_hap));
    c.set_rate(1e-3);
    c.set_gaps([&] { return short_distance(source); });
    c.observe(source, share, errors);
    c.request([](std::size_t) { return true; });
    return c;
}

std::string to_text(const case_sizes& n) {
    return std::to_string(n.n_hap) + " haplotypes " + std::to_string(n.n_states) + " states " +
           std::to_string(n.n_sites) + " sites";
}

TEST(haploid_class_sweeps, agree_with_the_plain_recursion_at_any_number_of_states) {
    input_source source(1);
    for (const std::size_t n_states : {1U, 2U, 7U, 8U, 9U, 16U, 17U, 63U, 64U, 65U, 130U, 257U}) {
        for (const std::size_t n_hap : {40U, 150U, 400U}) {
            if (n_states > n_hap) continue;
            const case_sizes n{n_hap, n_states, static_cast<std::size_t>(source.integer(1, 400))};
            SCOPED_TRACE(to_text(n));
            expect_agreement(make_case(source, n));
        }
    }
}

TEST(haploid_class_sweeps, agree_at_any_number_of_sites) {
    input_source source(2);
    for (const std::size_t n_sites :
         {1U, 2U, 3U, 63U, 64U, 65U, 127U, 128U, 129U, 192U, 255U, 256U, 257U, 320U, 512U, 700U}) {
        for (const double share : {0.0, 0.02, 0.3, 1.0}) {
            const case_sizes n{200, 37, n_sites};
            SCOPED_TRACE(to_text(n) + " observed " + std::to_string(share));
            expect_agreement(make_case(source, n, share));
        }
    }
}

TEST(haploid_class_sweeps, agree_at_any_rates_and_distances) {
    input_source source(3);
    for (const double mu : {0.3, 1e-2, 1e-4, 1e-9}) {
        for (int kind = 0; kind < 4; ++kind) {
            class_case c = make_case(source, {120, 50, 300}, 0.4, kind % 2 == 0 ? 0.0 : 0.1);
            c.set_rate(mu);
            const std::function<double()> distances[] = {[&] { return random_distance(source); },
                                                         [&] { return source.uniform(0.0, 1e-6); },
                                                         [&] { return source.uniform(0.0, 60.0); }, [] { return 1e9; }};
            c.set_gaps(distances[kind]);
            SCOPED_TRACE("mu " + std::to_string(mu) + " distances " + std::to_string(kind));
            expect_agreement(c);
        }
    }
}

TEST(haploid_class_sweeps, agree_wherever_posteriors_are_wanted) {
    input_source source(4);
    for (const double share : {0.0, 0.1, 1.0}) {
        class_case c = make_case(source, {200, 70, 600}, share);
        class_sweeps sweeps;
        const std::function<bool(std::size_t)> wishes[] = {
            [](std::size_t) { return false; },
            [](std::size_t v) { return v >= 200 && v < 330; },
            [](std::size_t v) { return v < 10 || v >= 590; },
            [&](std::size_t) { return source.chance(0.05); },
            [&](std::size_t v) { return c.observed[v] == unobserved; },
            [&](std::size_t v) { return c.observed[v] != unobserved; },
        };
        for (const auto& wanted : wishes) {
            c.request(wanted);
            expect_agreement(c, sweeps);
        }
        for (const std::size_t only : {0U, 1U, 63U, 64U, 255U, 256U, 400U, 599U}) {
            c.request([=](std::size_t v) { return v == only; });
            SCOPED_TRACE("only site " + std::to_string(only));
            expect_agreement(c, sweeps);
        }
    }
}

// Observed sites beside the borders of all blocks, and nowhere else.
TEST(haploid_class_sweeps, agree_where_borders_of_blocks_are_observed) {
    input_source source(5);
    for (const std::size_t past : {0U, 1U, 63U}) {
        for (const std::size_t every : {64U, 128U, 256U}) {
            class_case c = make_case(source, {100, 40, 530}, 1.0);
            for (std::size_t v = 0; v < c.n_sites(); ++v) {
                if (v % every != past) c.observed[v] = unobserved;
            }
            SCOPED_TRACE(std::to_string(past) + " past " + std::to_string(every));
            expect_agreement(c);
        }
    }
}

TEST(haploid_class_sweeps, agree_where_whole_blocks_are_not_observed) {
    input_source source(6);
    for (const std::size_t seen : {0U, 300U, 699U}) {
        class_case c = make_case(source, {200, 60, 700}, 0.0);
        c.observed[seen] = 1;
        expect_agreement(c);
        c.observed[350] = 0;
        expect_agreement(c);
    }
}

// More classes among the states than a word has bits, in blocks of all lengths, and where all haplotypes differ.
TEST(haploid_class_sweeps, agree_where_the_classes_are_many) {
    input_source source(7);
    for (const double mutations : {1e-5, 4e-4, 2e-3}) {
        mosaic_panel m;
        m.n_hap = 800;
        m.n_sites = 640;
        m.mutation_chance = mutations;
        m.diverse_from = 300;
        m.diverse_to = 340;
        class_case c = make_case(source, {40, 1, 640});
        c.panel = make_panel(source, m);
        c.sites = consecutive(0, 640);
        c.set_states(choose_ascending(source, 500, 0, 800));
        c.set_gaps([&] { return short_distance(source); });
        class_sweeps sweeps;
        ASSERT_TRUE(sweeps.classes.serve(c.panel, c.sites, 1));
        expect_agreement(c, sweeps);
        std::size_t most = 0;
        for (const haploid_class_tables::block& block : sweeps.by_class.blocks) most = std::max(most, block.n_classes);
        EXPECT_GT(most, 192U);
    }
}

// Sums fall below the limit within blocks again and again.
TEST(haploid_class_sweeps, agree_through_many_divisions) {
    input_source source(8);
    for (const double share : {0.3, 1.0}) {
        for (const double mu : {1e-2, 1e-5, 1e-9}) {
            class_case c = make_case(source, {120, 40, 600}, share);
            c.set_rate(mu);
            // Nobody carries what is observed at most sites; where all carry one allele.
            for (std::size_t v = 0; v < c.n_sites(); ++v) {
                if (!source.chance(0.8)) continue;
                const int allele = source.integer(0, 1);
                for (std::size_t h = 0; h < c.panel.n_hap(); ++h) {
                    c.panel.set(h, c.sites[v], allele);
                }
                if (c.observed[v] != unobserved) c.observed[v] = static_cast<std::uint8_t>(1 - allele);
            }
            SCOPED_TRACE("share " + std::to_string(share) + " mu " + std::to_string(mu));
            class_sweeps sweeps;
            expect_agreement(c, sweeps);
            std::size_t n_scaled = 0;
            for (const haploid_tables::anchor& anchor : sweeps.tables.anchors) n_scaled += anchor.scale != 1.0 ? 1 : 0;
            EXPECT_GT(n_scaled, 2U);
        }
    }
}

// The observations fit nobody but at random: the states that explain them change all the time.
TEST(haploid_class_sweeps, agree_where_observations_are_random) {
    input_source source(9);
    for (const double mu : {1e-3, 1e-9}) {
        for (const std::size_t n_states : {1U, 3U, 60U}) {
            class_case c = make_case(source, {120, n_states, 500}, 1.0, 0.5);
            c.set_rate(mu);
            SCOPED_TRACE("mu " + std::to_string(mu) + " states " + std::to_string(n_states));
            expect_agreement(c);
        }
    }
}

TEST(haploid_class_sweeps, agree_where_copies_have_no_error) {
    input_source source(10);
    class_case c = make_case(source, {100, 60, 400}, 0.0);
    c.set_rate(0.0);
    c.set_gaps([&] { return source.uniform(0.5, 3.0); });
    for (std::size_t v = 0; v < c.n_sites(); v += 3)
        c.observed[v] = static_cast<std::uint8_t>(c.allele(v, v / 20 % 60));
    expect_agreement(c);
}

// One haplotype after the other over the same sites: anchors and coefficients stay.
TEST(haploid_class_sweeps, agree_one_after_the_other) {
    input_source source(11);
    class_case c = make_case(source, {200, 65, 400});
    class_sweeps sweeps;
    const auto observe_other_alleles = [&] {
        for (std::uint8_t& allele : c.observed) {
            if (allele != unobserved && source.chance(0.3)) allele = static_cast<std::uint8_t>(1 - allele);
        }
    };
    const auto choose_states = [&](std::size_t n) {
        c.set_states(choose_ascending(source, n, 0, 200));
        if (n != 65) ++c.gap_version;
        if (n != 65) c.set_gaps([&] { return short_distance(source); });
    };
    for (int round = 0; round < 3; ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        expect_agreement(c, sweeps);
        observe_other_alleles();
        choose_states(65);
        expect_agreement(c, sweeps);
        expect_single_states_to_agree(c, sweeps);
        observe_other_alleles();
        expect_single_states_to_agree(c, sweeps);
        expect_agreement(c, sweeps);
        c.observe(source, 0.5, 0.0);
        expect_agreement(c, sweeps);
        c.set_gap(200, 1e9, 65);
        ++c.gap_version;
        expect_agreement(c, sweeps);
        c.gap_version = 0;  // not known
        c.set_gap(100, 1e9, c.hap.size());
        expect_agreement(c, sweeps);
        c.set_gap(100, 0.0, c.hap.size());
        expect_agreement(c, sweeps);
        c.gap_version = static_cast<std::uint64_t>(10 * round + 10);
        for (const std::size_t n : {150U, 3U, 64U}) {
            choose_states(n);
            expect_agreement(c, sweeps);
        }
        choose_states(65);
        c.set_gaps([&] { return short_distance(source); });
        ++c.gap_version;
    }
}

TEST(haploid_class_sweeps, agree_with_another_number_of_states_and_the_same_gaps) {
    input_source source(12);
    class_case c = make_case(source, {200, 65, 300});
    c.set_gaps([] { return 1e-3; });
    class_sweeps sweeps;
    for (const std::size_t n : {65U, 66U, 64U, 65U}) {
        c.set_states(choose_ascending(source, n, 0, 200));
        expect_agreement(c, sweeps);
    }
}

TEST(haploid_class_sweeps, agree_after_a_change_of_the_panel) {
    input_source source(13);
    class_case c = make_case(source, {200, 65, 300});
    class_sweeps sweeps;
    expect_agreement(c, sweeps);
    for (std::size_t h = 0; h < 200; h += 2) c.panel.set(h, static_cast<std::size_t>(c.sites[70]), 1);
    expect_refusal(c, sweeps);
    expect_agreement(c, sweeps);
    const std::vector<std::size_t> more = c.sites;
    c.sites = consecutive(20, 300);
    class_sweeps others = sweeps;
    others.classes = {};
    expect_agreement(c, others);
}

TEST(haploid_class_sweeps, give_the_same_bits_at_every_level_of_the_kernels) {
    input_source source(14);
    const kernels::table& best = kernels::active();
    for (const std::size_t n_states : {1U, 9U, 64U, 120U}) {
        const class_case c = make_case(source, {150, n_states, 400}, 0.6, 0.3);
        std::vector<double> expected;
        for (const auto l : {kernels::level::baseline, kernels::level::avx2, kernels::level::avx512}) {
            if (!kernels::available(l)) continue;
            kernels::choose(l);
            class_sweeps sweeps;
            EXPECT_TRUE(sweeps.run(c));
            std::vector<double> found{sweeps.likelihood};
            for (const allele_weights& w : sweeps.results.weights) found.insert(found.end(), w.begin(), w.end());
            if (expected.empty()) expected = found;
            EXPECT_EQ(expected, found) << "level " << static_cast<int>(l) << " states " << n_states;
        }
    }
    EXPECT_EQ(&best, &kernels::active()) << "the best level is the last one";
}

// --- where single states must be looked at --------------------------------------------------------------------------

TEST(haploid_class_sweeps, refuse_data_that_no_state_explains) {
    input_source source(15);
    for (const std::size_t bad : {0U, 1U, 70U, 255U, 256U, 299U}) {
        SCOPED_TRACE("site " + std::to_string(bad));
        class_case c = make_case(source, {100, 30, 300}, 0.0);
        c.set_rate(0.0);
        for (std::size_t h = 0; h < 100; ++h) c.panel.set(h, static_cast<std::size_t>(c.sites[bad]), 1);
        class_sweeps sweeps;
        expect_agreement(c, sweeps);
        c.observed[bad] = 0;
        for (int repeat = 0; repeat < 2; ++repeat) {
            EXPECT_FALSE(sweeps.run(c));
            sweeps.run_over_single_states(c);
            slow::haploid_model plain = c.plain();
            EXPECT_PRED3(nearly_equal, plain.forward(), sweeps.likelihood, 1e-12);
        }
        c.observed[bad] = 1;
        expect_agreement(c, sweeps);
        c.set_rate(1e-3);
        c.observed[bad] = 0;
        expect_agreement(c, sweeps);
    }
}

// With rates of more states than are copied a sum shrinks over every gap, also where nothing is observed.
TEST(haploid_class_sweeps, refuse_sums_that_vanish_between_observations) {
    input_source source(16);
    for (const std::size_t n_states : {1U, 20U}) {
        class_case c = make_case(source, {100, n_states, 300}, 0.0);
        c.observed[2] = c.observed[290] = 1;
        class_sweeps sweeps;
        expect_agreement(c, sweeps);
        for (std::size_t v = 0; v < 300; ++v)
            c.set_gap(v, std::log(50.0) * 1000.0 * static_cast<double>(n_states), 1000 * n_states);
        ++c.gap_version;
        for (int repeat = 0; repeat < 2; ++repeat) expect_refusal(c, sweeps);
        c.set_gaps([&] { return short_distance(source); });
        ++c.gap_version;
        expect_agreement(c, sweeps);
    }
}

// A sum that shrinks by 50 over a gap is below the limit thirty gaps later.
TEST(haploid_class_sweeps, refuse_sums_below_the_limit_behind_an_observation) {
    input_source source(20);
    for (const std::size_t seen : {0U, 100U}) {
        for (const std::size_t n_gaps : {25U, 31U, 60U}) {
            class_case c = make_case(source, {100, 20, 300}, 0.0);
            c.observed[seen] = 1;
            for (std::size_t v = 1; v <= n_gaps; ++v) c.set_gap(seen + v, std::log(50.0) * 2e8, 200000000);
            class_sweeps sweeps;
            SCOPED_TRACE(std::to_string(n_gaps) + " gaps after " + std::to_string(seen));
            if (n_gaps == 25) {
                expect_agreement(c, sweeps);
            } else {
                expect_refusal(c, sweeps);
            }
        }
    }
}

// The same left of the first observation, or without any: refused or right, and right over single states afterwards.
TEST(haploid_class_sweeps, agree_where_sums_vanish_before_the_first_observation) {
    input_source source(21);
    for (const bool seen : {true, false}) {
        for (const std::size_t n_gaps : {25U, 60U, 150U, 184U, 186U, 200U, 290U}) {
            class_case c = make_case(source, {100, 20, 300}, 0.0);
            if (seen) c.observed[295] = 1;
            for (std::size_t v = 1; v <= n_gaps; ++v) c.set_gap(v, std::log(50.0) * 2e8, 200000000);
            class_sweeps sweeps;
            SCOPED_TRACE(std::to_string(n_gaps) + (seen ? " gaps before a seen allele" : " gaps"));
            if (sweeps.run(c)) expect_right_results(c, sweeps);
            expect_single_states_to_agree(c, sweeps);
        }
    }
}

// The same with all sites observed, where sums are divided in time.
TEST(haploid_class_sweeps, agree_with_rates_of_more_states) {
    input_source source(17);
    for (const double share : {0.1, 1.0}) {
        class_case c = make_case(source, {100, 20, 500}, share);
        for (std::size_t v = 0; v < 500; ++v) c.set_gap(v, source.uniform(0.0, 30.0), 30);
        expect_agreement(c);
    }
}

TEST(haploid_class_sweeps, refuse_missing_observations_with_a_chance_of_their_own) {
    input_source source(18);
    for (const std::size_t copied : {0U, 1U}) {
        class_case c = make_case(source, {100, 20, 100});
        c.M[copied][2] = 0.5;
        class_sweeps sweeps;
        expect_refusal(c, sweeps);
        c.M[copied][2] = 1.0;
        expect_agreement(c, sweeps);
    }
}

TEST(haploid_class_sweeps, refuse_no_states_and_no_sites) {
    input_source source(19);
    class_sweeps sweeps;
    class_case c = make_case(source, {100, 20, 100});
    expect_agreement(c, sweeps);
    const std::vector<int> states = c.hap;
    c.hap.clear();
    EXPECT_FALSE(sweeps.run(c));
    sweeps.run_over_single_states(c);
    EXPECT_EQ(negative_infinity, sweeps.likelihood);
    c.hap = states;
    expect_agreement(c, sweeps);

    const class_case none = make_case(source, {100, 20, 0});
    EXPECT_FALSE(sweeps.run(none));
    sweeps.run_over_single_states(none);
    EXPECT_EQ(0.0, sweeps.likelihood);
    c.gap_version = 7;
    class_sweeps others = sweeps;
    others.classes = {};
    expect_agreement(c, others);
}

// No way leads from state to state. One half of the states explains what is seen on either side of a block, the other
// half what is seen within it: values at its borders are tiny, and what they are multiplied with is huge.
class_case opposed_halves(double mu, std::size_t n_misfits) {
    class_case c;
    c.panel = packed_haplotypes(40, 768);
    for (std::size_t h = 20; h < 40; ++h) {
        for (std::size_t s = 0; s < 768; ++s) c.panel.set(h, s, 1);
    }
    c.sites = consecutive(0, 768);
    c.set_states(consecutive(0, 40));
    c.set_rate(mu);
    c.set_gaps([] { return 0.0; });
    c.observed.assign(768, unobserved);
    for (std::size_t i = 0; i < n_misfits; ++i) {
        c.observed[255 - i] = c.observed[512 + i] = 0;
        c.observed[256 + i] = c.observed[511 - i] = 1;
    }
    c.request([](std::size_t) { return true; });
    return c;
}

// Either such factors are refused or the posteriors are right.
TEST(haploid_class_sweeps, agree_where_factors_become_huge) {
    for (const int digits : {3, 5, 9}) {  // lost at each misfit
        for (int n_misfits = 1; n_misfits * digits < 270; ++n_misfits) {
            const class_case c = opposed_halves(std::pow(10.0, -digits), static_cast<std::size_t>(n_misfits));
            SCOPED_TRACE(std::to_string(n_misfits) + " misfits of " + std::to_string(digits) + " digits");
            class_sweeps sweeps;
            const bool served = sweeps.run(c);
            if (n_misfits * digits < 50) {
                EXPECT_TRUE(served);
            } else if (n_misfits * digits > 150) {
                EXPECT_FALSE(served) << "products of values at the borders vanish";
            }
            if (!served) sweeps.run_over_single_states(c);
            expect_right_results(c, sweeps);
            if (testing::Test::HasFailure()) return;
        }
    }
}

}  // namespace
