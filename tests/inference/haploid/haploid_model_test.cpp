#include "inference/haploid/haploid_model.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "inference/inference_tools.h"
#include "inference/kernels/kernels.h"
#include "inference/slow_haploid.h"
#include "inference/update/posteriors.h"

namespace {

// A problem in the form of the plain model and in that of the fast sweeps.
struct haploid_case {
    slow::haploid_model plain;
    std::vector<haploid_gap> gap;
    std::vector<std::uint8_t> observed;
    std::vector<std::uint64_t> alleles;
    std::vector<haploid_request> requests;
    std::uint64_t gap_version = 0;

    // Makes the fast form of what stands in plain.
    void finish() {
        const auto K = static_cast<std::size_t>(plain.K);
        std::vector<std::vector<int>> rows;
        gap.clear();
        observed.clear();
        requests.clear();
        for (const slow::haploid_site& s : plain.sites) {
            rows.push_back(s.allele);
            gap.push_back({s.stay, s.move, s.diff});
            observed.push_back(static_cast<std::uint8_t>(s.obs));
            requests.push_back({s.draw_allele, true});
        }
        alleles = pack_rows(rows, K);
    }
    haploid_problem problem() const {
        haploid_problem p;
        p.n_states = static_cast<std::size_t>(plain.K);
        p.n_sites = plain.sites.size();
        p.gap = gap.data();
        p.gap_version = gap_version;
        p.observed = observed.data();
        p.alleles = alleles.data();
        p.words = bits::words_for(p.n_states);
        p.emission = plain.M;
        if (plain.mem_save) p.checkpoint_interval = plain.interval;
        return p;
    }
    void set_gap(std::size_t v, double d, int K_gap) {
        const double e = std::exp(-d / K_gap), s = (1.0 - e) / K_gap;
        plain.sites[v].stay = e + s;
        plain.sites[v].move = s;
        plain.sites[v].diff = e;
    }
    void set_rate(double mu) { plain.M = {{{1.0 - mu, mu, 1.0}, {mu, 1.0 - mu, 1.0}}}; }
    // Checkpoints on every interval-th site from the right.
    void set_checkpoints(std::size_t interval) {
        plain.mem_save = true;
        plain.interval = interval;
        const std::size_t n = plain.sites.size();
        for (std::size_t v = 0; v < n; ++v) plain.sites[v].kept = (n - 1 - v) % interval == 0;
        finish();
    }
};

haploid_case random_case(input_source& source, int K, int n_sites, double mu, double missing) {
    haploid_case c;
    c.plain.K = K;
    c.set_rate(mu);
    c.plain.sites.resize(static_cast<std::size_t>(n_sites));
    const int K_gap = source.integer(0, 1) == 0 ? K : K + source.integer(1, 400);
    for (std::size_t v = 0; v < c.plain.sites.size(); ++v) {
        slow::haploid_site& s = c.plain.sites[v];
        s.allele = random_row(source, K);
        s.obs = source.chance(missing) ? 2 : source.integer(0, 1);
        s.draw_allele = source.chance(0.5);
        c.set_gap(v, random_distance(source), K_gap);
    }
    c.finish();
    return c;
}

emission_table model_table_of(const slow::haploid_model& plain) {
    emission_table M{};
    for (std::size_t a = 0; a < 2; ++a) {
        for (std::size_t o = 0; o < 3; ++o) M[a][o] = plain.M[a][o];
    }
    return M;
}

struct walk_kind {
    bool sample, backward, in_turns;
};
constexpr std::array<walk_kind, 6> all_kinds{{{true, true, false},
                                              {true, false, false},
                                              {false, true, false},
                                              {true, true, true},
                                              {true, false, true},
                                              {false, true, true}}};

double copied_one(const allele_weights& w) {
    return w[1] / (w[0] + w[1]);
}

// Runs both forms with the same seed and compares all that they give. tables may come from an earlier use.
void expect_agreement(haploid_case& c, const walk_kind& kind, int seed, haploid_tables& tables,
                      bool likelihood = true) {
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
    const haploid_problem problem = c.problem();
    haploid_results results;
    seeded_draws draws(seed);
    const double L = haploid_forward(problem, tables);
    if (likelihood) {
        EXPECT_PRED3(nearly_equal, plain_L, L, 1e-12);
    }
    haploid_walk(problem, tables, {kind.sample, kind.backward, kind.in_turns}, c.requests, results);
    EXPECT_EQ(plain_next, draws.next()) << "another number of draws";

    const emission_table M = model_table_of(c.plain);
    for (std::size_t v = 0; v < c.plain.sites.size(); ++v) {
        const slow::haploid_site& s = c.plain.sites[v];
        if (kind.sample) {
            EXPECT_EQ(s.state, as_plain(results.state[v])) << "site " << v;
            if (s.draw_allele) {
                EXPECT_EQ(s.drawn, results.allele[v]) << "site " << v;
            }
        }
        if (!kind.backward || c.plain.K < 1) continue;
        EXPECT_PRED3(nearly_equal, c.plain.copied_one(s), copied_one(results.weights[v]), 1e-12) << "site " << v;
        EXPECT_NEAR(c.plain.allele_one(s, false), allele_one_chance(results.weights[v], M), 1e-12) << "site " << v;
        if (s.obs != 2) {
            EXPECT_NEAR(c.plain.allele_one(s, true),
                        allele_one_chance_unseen(results.weights[v], M, static_cast<std::size_t>(s.obs)), 1e-12)
                << "site " << v;
        }
    }
    if (kind.sample) {
        EXPECT_EQ(c.plain.stay_count, results.stay_count);
        EXPECT_EQ(c.plain.switch_count, results.switch_count);
    }
}

void expect_agreement(haploid_case c, const walk_kind& kind, int seed) {
    haploid_tables tables;
    expect_agreement(c, kind, seed, tables);
}

void expect_agreement_of_all_kinds(const haploid_case& c, int seed) {
    for (const walk_kind& kind : all_kinds) {
        SCOPED_TRACE("sample " + std::to_string(kind.sample) + " backward " + std::to_string(kind.backward) +
                     " in turns " + std::to_string(kind.in_turns));
        expect_agreement(c, kind, seed);
    }
}

TEST(haploid_sweeps, agree_with_the_plain_recursion_at_any_number_of_states) {
    input_source source(1);
    for (const int K : {1, 2, 3, 7, 8, 9, 15, 16, 17, 31, 33, 40, 63, 64, 65, 70, 127, 128, 129}) {
        for (const double missing : {0.0, 0.3, 0.9}) {
            for (const double mu : {1e-8, 1e-3, 0.2}) {
                SCOPED_TRACE("K " + std::to_string(K) + " missing " + std::to_string(missing) + " mu " +
                             std::to_string(mu));
                expect_agreement_of_all_kinds(random_case(source, K, source.integer(1, 40), mu, missing), K);
            }
        }
    }
}

TEST(haploid_sweeps, agree_where_the_ends_are_not_observed) {
    input_source source(2);
    for (int repeat = 0; repeat < 20; ++repeat) {
        haploid_case c = random_case(source, source.integer(1, 70), 20, 1e-3, 0.4);
        for (std::size_t v = 0; v < 4; ++v) c.plain.sites[v].obs = 2;
        if (repeat % 2 == 0) {
            for (std::size_t v = 16; v < 20; ++v) c.plain.sites[v].obs = 2;
        }
        c.finish();
        expect_agreement_of_all_kinds(c, repeat);
    }
}

TEST(haploid_sweeps, agree_where_nothing_is_observed) {
    input_source source(3);
    for (const int n_sites : {1, 2, 5, 30}) {
        for (const int K : {1, 8, 65})
            expect_agreement_of_all_kinds(random_case(source, K, n_sites, 1e-3, 1.0), K + n_sites);
    }
}

TEST(haploid_sweeps, agree_where_only_one_site_is_observed) {
    input_source source(4);
    for (std::size_t v = 0; v < 9; ++v) {
        haploid_case c = random_case(source, 12, 9, 1e-2, 1.0);
        c.plain.sites[v].obs = 1;
        c.finish();
        expect_agreement_of_all_kinds(c, static_cast<int>(v));
    }
}

TEST(haploid_sweeps, agree_through_many_divisions) {
    input_source source(5);
    for (const double missing : {0.0, 0.5}) {
        for (const double mu : {1e-3, 1e-9, 1e-30}) {
            haploid_case c = random_case(source, 20, 300, mu, missing);
            for (slow::haploid_site& s : c.plain.sites) {
                // Nobody carries what is observed at most sites.
                if (s.obs != 2 && source.chance(0.8)) s.allele.assign(s.allele.size(), 1 - s.obs);
            }
            c.finish();
            expect_agreement_of_all_kinds(c, 17);
        }
    }
}

TEST(haploid_sweeps, agree_where_whole_stretches_have_no_distance) {
    input_source source(6);
    haploid_case c = random_case(source, 33, 30, 1e-4, 0.3);
    for (std::size_t v = 0; v < 30; ++v) c.set_gap(v, v % 10 == 0 ? 3.0 : 0.0, 33);
    c.finish();
    expect_agreement_of_all_kinds(c, 3);
}

TEST(haploid_sweeps, agree_where_the_tables_were_used_before) {
    input_source source(7);
    haploid_tables tables;
    for (const int K : {70, 3, 33, 8, 64}) {
        haploid_case c = random_case(source, K, source.integer(1, 30), 1e-3, 0.5);
        expect_agreement(c, {true, true, false}, K, tables);
    }
}

// With rates of more states than are copied a sum shrinks over every gap: here, between two observations, through the
// whole range of a double.
TEST(haploid_sweeps, agree_where_sums_vanish_between_observations) {
    input_source source(22);
    for (const int K : {1, 3, 20}) {
        haploid_case c = random_case(source, K, 240, 1e-3, 1.0);
        const double all_but_a_fiftieth = std::log(50.0) * 1000 * K;
        for (std::size_t v = 0; v < 240; ++v) c.set_gap(v, v % 7 == 0 ? 0.5 * K : all_but_a_fiftieth, 1000 * K);
        for (const std::size_t v : {1U, 237U}) c.plain.sites[v].obs = source.integer(0, 1);
        c.finish();
        expect_agreement_of_all_kinds(c, K);
    }
}

TEST(haploid_sweeps, do_not_divide_a_sum_at_the_limit) {
    for (const double first : {1e-50, 0.999e-50}) {
        haploid_case c;
        c.plain.K = 1;
        c.plain.M = {{{first, first, 1.0}, {first, first, 1.0}}};
        c.plain.sites.resize(2);
        for (std::size_t v = 0; v < 2; ++v) {
            c.plain.sites[v].allele = {0};
            c.set_gap(v, 0.0, 1);
        }
        c.plain.sites[0].obs = 0;
        c.finish();
        haploid_tables tables;
        haploid_forward(c.problem(), tables);
        const haploid_tables::anchor& last = tables.anchors.back();
        EXPECT_EQ(first < 1e-50 ? 1U : 0U, last.site);
        EXPECT_EQ(first < 1e-50 ? first : 1.0, last.scale);
    }
}

TEST(haploid_sweeps, agree_one_after_the_other_over_the_same_sites) {
    input_source source(31);
    for (const int K : {1, 9, 40}) {
        haploid_case c = random_case(source, K, 30, 1e-3, 0.6);
        c.gap_version = 1;
        haploid_tables tables;
        const auto check = [&](const char* what) {
            SCOPED_TRACE(what);
            c.finish();
            for (const walk_kind& kind : all_kinds) {
                c.plain.stay_count = c.plain.switch_count = 0;
                expect_agreement(c, kind, K, tables);
            }
        };
        const auto renew_alleles = [&] {
            for (slow::haploid_site& site : c.plain.sites) site.allele = random_row(source, K);
        };
        renew_alleles();
        check("first");
        renew_alleles();
        check("other alleles");
        c.plain.sites[7].obs = c.plain.sites[7].obs == 2 ? 0 : 2;
        renew_alleles();
        check("other observed sites");
        c.set_gap(11, 3.0 * K, K);
        c.gap_version = 2;
        check("other gaps");
        const auto explained = c.plain;
        c.set_rate(0.0);
        for (slow::haploid_site& site : c.plain.sites) {
            if (site.obs != 2) site.allele.assign(static_cast<std::size_t>(K), 1 - site.obs);
        }
        c.finish();
        for (int i = 0; i < 2; ++i) EXPECT_FALSE(std::isfinite(haploid_forward(c.problem(), tables)));
        c.plain = explained;
        check("after data that no state explains");
    }
}

TEST(haploid_sweeps, over_no_sites_leave_nothing_for_the_next) {
    input_source source(32);
    for (const double missing : {0.5, 1.0}) {
        haploid_case c = random_case(source, 5, 12, 1e-3, missing);
        c.gap_version = 1;
        haploid_tables tables;
        expect_agreement(c, all_kinds[0], 1, tables);
        haploid_case none = random_case(source, 5, 0, 1e-3, missing);
        none.gap_version = 1;
        expect_agreement(none, all_kinds[0], 1, tables, false);
        c.plain.stay_count = c.plain.switch_count = 0;
        expect_agreement(c, all_kinds[0], 1, tables);
    }
}

TEST(haploid_sweeps, agree_where_a_missing_observation_has_no_chance) {
    input_source source(34);
    for (const int n_observed : {0, 1, 5}) {
        haploid_case c = random_case(source, 1, 5, 1e-3, 1.0);
        for (int i = 0; i < n_observed; ++i) c.plain.sites[static_cast<std::size_t>(4 - i)].obs = 1;
        c.plain.M = {};
        c.gap_version = 1;
        c.finish();
        haploid_tables tables;
        for (int repeat = 0; repeat < 2; ++repeat) {
            EXPECT_PRED3(nearly_equal, c.plain.forward(), haploid_forward(c.problem(), tables), 1e-12);
            haploid_results results;
            seeded_draws draws(1);
            haploid_walk(c.problem(), tables, {true, true, false}, c.requests, results);
            for (const allele_weights& w : results.weights) {
                EXPECT_EQ(0.5, allele_one_chance(w, model_table_of(c.plain)));
            }
        }
    }
}

TEST(haploid_sweeps, posteriors_of_states_agree) {
    input_source source(8);
    for (const int K : {1, 5, 8, 66}) {
        for (const bool backward : {false, true}) {
            haploid_case c = random_case(source, K, 25, 1e-3, 0.5);
            c.plain.forward();
            c.plain.walk_in_turns(false, backward);
            haploid_tables tables;
            haploid_forward(c.problem(), tables);
            std::vector<double> posteriors;
            haploid_state_posteriors(c.problem(), tables, backward, posteriors);
            ASSERT_EQ(25U * static_cast<std::size_t>(K), posteriors.size());
            for (std::size_t v = 0; v < 25; ++v) {
                const double* p = posteriors.data() + v * static_cast<std::size_t>(K);
                double plain_sum = 0.0, sum = 0.0;
                for (int k = 0; k < K; ++k) {
                    plain_sum += c.plain.sites[v].product[static_cast<std::size_t>(k)];
                    sum += p[k];
                }
                for (int k = 0; k < K; ++k) {
                    EXPECT_NEAR(c.plain.sites[v].product[static_cast<std::size_t>(k)] / plain_sum, p[k] / sum, 1e-12);
                }
            }
        }
    }
}

// With all codes exchanged the chance of allele 1 becomes that of allele 0: both together are 1.
TEST(haploid_sweeps, posteriors_of_both_alleles_sum_to_one) {
    input_source source(20);
    for (const int K : {1, 7, 30}) {
        haploid_case c = random_case(source, K, 30, 1e-2, 0.4);
        haploid_case exchanged = c;
        for (slow::haploid_site& s : exchanged.plain.sites) {
            for (int& allele : s.allele) allele = 1 - allele;
            if (s.obs != 2) s.obs = 1 - s.obs;
        }
        exchanged.finish();
        haploid_tables tables;
        haploid_results ones, zeros;
        const double L = haploid_forward(c.problem(), tables);
        haploid_walk(c.problem(), tables, {false, true, false}, c.requests, ones);
        EXPECT_NEAR(L, haploid_forward(exchanged.problem(), tables), 1e-12);
        haploid_walk(exchanged.problem(), tables, {false, true, false}, c.requests, zeros);
        const emission_table M = model_table_of(c.plain);
        for (std::size_t v = 0; v < 30; ++v) {
            const auto own = static_cast<std::size_t>(c.plain.sites[v].obs);
            EXPECT_NEAR(1.0, allele_one_chance(ones.weights[v], M) + allele_one_chance(zeros.weights[v], M), 1e-12);
            if (own == 2) continue;
            EXPECT_NEAR(1.0,
                        allele_one_chance_unseen(ones.weights[v], M, own) +
                            allele_one_chance_unseen(zeros.weights[v], M, 1 - own),
                        1e-12);
        }
    }
}

TEST(haploid_sweeps, give_the_same_bits_at_every_level_of_the_kernels) {
    input_source source(21);
    const kernels::table& best = kernels::active();
    for (const int K : {1, 8, 23, 64, 70}) {
        for (const std::size_t interval : {0U, 4U}) {
            haploid_case c = random_case(source, K, 25, 1e-3, 0.5);
            if (interval > 0) c.set_checkpoints(interval);
            std::vector<double> expected;
            for (const auto l : {kernels::level::baseline, kernels::level::avx2, kernels::level::avx512}) {
                if (!kernels::available(l)) continue;
                kernels::choose(l);
                seeded_draws draws(K);
                haploid_tables tables;
                haploid_results results;
                std::vector<double> found{haploid_forward(c.problem(), tables)};
                haploid_walk(c.problem(), tables, {true, true, false}, c.requests, results);
                for (const allele_weights& w : results.weights) found.insert(found.end(), w.begin(), w.end());
                found.insert(found.end(), results.state.begin(), results.state.end());
                if (expected.empty()) expected = found;
                EXPECT_EQ(expected, found) << "level " << static_cast<int>(l) << " K " << K;
            }
        }
    }
    EXPECT_EQ(&best, &kernels::active()) << "the best level is the last one";
}

// --- outcomes of degenerate numbers ---------------------------------------------------------------------------------

TEST(haploid_sweeps, without_states_give_no_state) {
    for (const int n_sites : {1, 2, 6}) {
        input_source source(9);
        haploid_case c = random_case(source, 0, n_sites, 1e-3, 0.5);
        for (const walk_kind& kind : {all_kinds[1], all_kinds[4]}) {
            haploid_case copy = c;
            haploid_tables tables;
            expect_agreement(copy, kind, 5, tables, false);
        }
    }
}

TEST(haploid_sweeps, without_states_have_no_likelihood) {
    for (const int n_sites : {1, 2, 6}) {
        for (const double missing : {0.0, 1.0}) {
            input_source source(9);
            haploid_case c = random_case(source, 0, n_sites, 1e-3, missing);
            haploid_tables tables;
            EXPECT_EQ(-std::numeric_limits<double>::infinity(), haploid_forward(c.problem(), tables))
                << n_sites << " sites, missing " << missing;
        }
    }
}

// No state carries what is observed at one site, and copies have no error.
haploid_case unexplained_case(input_source& source, std::size_t bad, double missing) {
    haploid_case c = random_case(source, 5, 7, 0.0, missing);
    for (std::size_t v = 0; v < 7; ++v) c.set_gap(v, 4.0, 5);
    for (slow::haploid_site& s : c.plain.sites) {
        for (std::size_t k = 0; k < 5; ++k) s.allele[k] = k % 2 == 0 ? 0 : 1;
    }
    c.plain.sites[bad].allele.assign(5, 1);
    c.plain.sites[bad].obs = 0;
    c.finish();
    return c;
}

TEST(haploid_sweeps, fall_to_the_last_state_when_no_state_explains_the_data) {
    input_source source(10);
    for (std::size_t bad = 0; bad < 7; ++bad) {
        for (const double missing : {0.0, 0.5}) {
            SCOPED_TRACE("site " + std::to_string(bad) + " missing " + std::to_string(missing));
            const haploid_case c = unexplained_case(source, bad, missing);
            for (const walk_kind& kind : {all_kinds[1], all_kinds[4]}) {
                haploid_case copy = c;
                haploid_tables tables;
                expect_agreement(copy, kind, 6, tables, false);
            }
        }
    }
}

// Past a sum of zero there are no numbers: the likelihood is minus infinity where that is the last site, undefined
// where sites follow.
TEST(haploid_sweeps, have_no_likelihood_when_no_state_explains_the_data) {
    input_source source(10);
    for (std::size_t bad = 0; bad < 7; ++bad) {
        for (const double missing : {0.0, 1.0}) {
            haploid_case c = unexplained_case(source, bad, missing);
            haploid_tables tables;
            EXPECT_PRED3(nearly_equal, c.plain.forward(), haploid_forward(c.problem(), tables), 1e-12)
                << "site " << bad << " missing " << missing;
        }
    }
}

TEST(haploid_sweeps, agree_where_copies_have_no_error) {
    input_source source(19);
    for (const int K : {2, 9, 40}) {
        for (const double missing : {0.0, 0.5}) {
            haploid_case c = random_case(source, K, 20, 0.0, missing);
            for (std::size_t v = 0; v < 20; ++v) {
                c.set_gap(v, source.uniform(0.5, 3.0), K);
                c.plain.sites[v].allele[0] = 0;
                c.plain.sites[v].allele[1] = 1;
            }
            c.finish();
            expect_agreement_of_all_kinds(c, K);
        }
    }
}

TEST(haploid_sweeps, with_a_posterior_that_says_nothing_give_one_half) {
    input_source source(11);
    haploid_case c = random_case(source, 5, 6, 0.0, 0.0);
    c.plain.sites[3].allele.assign(5, 1);
    c.plain.sites[3].obs = 0;
    c.finish();
    c.plain.forward();
    c.plain.walk_by_site(false, true);
    haploid_tables tables;
    haploid_results results;
    haploid_forward(c.problem(), tables);
    haploid_walk(c.problem(), tables, {false, true, false}, c.requests, results);
    for (std::size_t v = 0; v < 6; ++v) {
        EXPECT_EQ(0.5, c.plain.allele_one(c.plain.sites[v], false));
        EXPECT_EQ(0.5, allele_one_chance(results.weights[v], model_table_of(c.plain))) << "site " << v;
    }
}

TEST(haploid_sweeps, a_copied_allele_passes_through_the_mutation_model) {
    haploid_case c;
    c.plain.K = 2;
    c.set_rate(0.25);
    c.plain.sites.resize(1);
    c.plain.sites[0].allele = {0, 1};
    c.finish();
    const haploid_problem problem = c.problem();
    for (const int state : {-1, 0, 1}) {
        seeded_draws draws(1);
        int ones = 0;
        for (int i = 0; i < 4000; ++i) ones += haploid_allele_draw(problem, 0, state);
        EXPECT_NEAR(state == 1 ? 0.75 : 0.25, ones / 4000.0, 0.04);
    }
}

// --- small problems against the sum over all paths ------------------------------------------------------------------

using path = std::vector<int>;

// Weights of all paths of states, unnormalised.
std::map<path, double> all_paths(const slow::haploid_model& m) {
    std::map<path, double> weights;
    const std::size_t n = m.sites.size();
    path p(n, 0);
    const std::function<void(std::size_t, double)> extend = [&](std::size_t v, double weight) {
        if (v == n) {
            weights[p] = weight;
            return;
        }
        const slow::haploid_site& s = m.sites[v];
        for (int k = 0; k < m.K; ++k) {
            p[v] = k;
            const double step = v == 0 ? 1.0 / m.K : k == p[v - 1] ? s.stay : s.move;
            extend(v + 1, weight * step * m.emission(s, k));
        }
    };
    extend(0, 1.0);
    return weights;
}

haploid_case small_case(input_source& source, int K, int n_sites, int K_gap) {
    haploid_case c = random_case(source, K, n_sites, 0.1, 0.3);
    for (std::size_t v = 0; v < c.plain.sites.size(); ++v) {
        for (int& allele : c.plain.sites[v].allele) allele = source.integer(0, 1);
        c.set_gap(v, source.uniform(0.0, 3.0), K_gap);
    }
    c.finish();
    return c;
}

TEST(haploid_sweeps, equal_the_sum_over_all_paths) {
    input_source source(12);
    for (int K = 1; K <= 4; ++K) {
        for (int n_sites = 1; n_sites <= 5; ++n_sites) {
            for (const int K_gap : {K, K + 7}) {
                const haploid_case c = small_case(source, K, n_sites, K_gap);
                double total = 0.0;
                std::vector<std::vector<double>> share(static_cast<std::size_t>(n_sites), std::vector<double>(4, 0.0));
                for (const auto& [p, weight] : all_paths(c.plain)) {
                    total += weight;
                    for (std::size_t v = 0; v < p.size(); ++v) share[v][static_cast<std::size_t>(p[v])] += weight;
                }
                haploid_tables tables;
                EXPECT_NEAR(std::log10(total), haploid_forward(c.problem(), tables), 1e-12);
                std::vector<double> posteriors;
                haploid_state_posteriors(c.problem(), tables, true, posteriors);
                haploid_results results;
                haploid_walk(c.problem(), tables, {false, true, false}, c.requests, results);
                for (std::size_t v = 0; v < share.size(); ++v) {
                    double sum = 0.0, one = 0.0;
                    for (std::size_t k = 0; k < static_cast<std::size_t>(K); ++k) {
                        sum += posteriors[v * static_cast<std::size_t>(K) + k];
                        if (c.plain.sites[v].allele[k] == 1) one += share[v][k];
                    }
                    for (std::size_t k = 0; k < static_cast<std::size_t>(K); ++k) {
                        EXPECT_NEAR(share[v][k] / total, posteriors[v * static_cast<std::size_t>(K) + k] / sum, 1e-12);
                    }
                    EXPECT_NEAR(one / total, copied_one(results.weights[v]), 1e-12);
                }
            }
        }
    }
}

TEST(haploid_sweeps, paths_are_drawn_by_their_posterior) {
    input_source source(13);
    constexpr int n_draws = 4000;
    for (const int K : {2, 3}) {
        const haploid_case c = small_case(source, K, 4, K);
        std::map<path, double> chances = all_paths(c.plain);
        double total = 0.0;
        for (const auto& [p, weight] : chances) total += weight;
        for (auto& [p, weight] : chances) weight /= total;
        for (const bool in_turns : {false, true}) {
            seeded_draws draws(99);
            haploid_tables tables;
            haploid_forward(c.problem(), tables);
            haploid_results results;
            std::map<path, int> counts;
            for (int i = 0; i < n_draws; ++i) {
                haploid_walk(c.problem(), tables, {true, false, in_turns}, c.requests, results);
                ++counts[path(results.state.begin(), results.state.end())];
            }
            expect_frequencies(counts, chances, n_draws);
        }
    }
}

// --- checkpoints ----------------------------------------------------------------------------------------------------

TEST(haploid_checkpoints, agree_with_the_plain_recursion_left_of_the_last_one_too) {
    input_source source(14);
    for (const int K : {1, 8, 9, 33, 64, 70}) {
        for (const auto& [n_sites, interval] :
             {std::pair{3, 4}, {4, 2}, {5, 2}, {9, 3}, {11, 3}, {12, 3}, {30, 5}, {29, 5}, {8, 1}}) {
            for (const double missing : {0.0, 0.6}) {
                haploid_case c = random_case(source, K, n_sites, 1e-3, missing);
                c.set_checkpoints(static_cast<std::size_t>(interval));
                SCOPED_TRACE("K " + std::to_string(K) + " sites " + std::to_string(n_sites) + " interval " +
                             std::to_string(interval));
                for (const walk_kind& kind : {all_kinds[0], all_kinds[1], all_kinds[2]}) expect_agreement(c, kind, K);
            }
        }
    }
}

TEST(haploid_checkpoints, agree_through_many_divisions) {
    input_source source(15);
    haploid_case c = random_case(source, 20, 200, 1e-20, 0.3);
    for (slow::haploid_site& s : c.plain.sites) {
        if (s.obs != 2) s.allele.assign(s.allele.size(), 1 - s.obs);
    }
    c.set_checkpoints(14);
    for (const walk_kind& kind : {all_kinds[0], all_kinds[1], all_kinds[2]}) expect_agreement(c, kind, 8);
}

// Draws left of the leftmost checkpoint see the unit of the products: backward sums fall below the limit between two
// observed sites, and are divided just right of the sites whose products are read.
TEST(haploid_checkpoints, agree_where_backward_sums_vanish_between_observations) {
    input_source source(25);
    for (std::size_t n_missing = 20; n_missing < 32; ++n_missing) {
        for (int repeat = 0; repeat < 6; ++repeat) {
            haploid_case c = random_case(source, 4, 60, 1e-3, 0.0);
            for (std::size_t v = 0; v < 60; ++v) {
                const bool missing = v >= 7 && v < 7 + n_missing;
                if (missing) c.plain.sites[v].obs = 2;
                c.set_gap(v, missing ? 1e9 : 0.5, missing ? 404 : 4);
            }
            c.set_checkpoints(8);
            SCOPED_TRACE(std::to_string(n_missing) + " missing, case " + std::to_string(repeat));
            for (const walk_kind& kind : {all_kinds[0], all_kinds[1], all_kinds[2]}) expect_agreement(c, kind, repeat);
        }
    }
}

TEST(haploid_checkpoints, keep_as_many_vectors_as_they_build_anew) {
    input_source source(26);
    haploid_case c = random_case(source, 20, 600, 1e-3, 1.0 / 6.0);
    haploid_tables usual, saving;
    haploid_forward(c.problem(), usual);
    c.set_checkpoints(24);
    haploid_forward(c.problem(), saving);
    EXPECT_EQ(8, usual.keep_every);
    const std::size_t n_kept = saving.anchors.size() / saving.keep_every;
    EXPECT_NEAR(static_cast<double>(n_kept), static_cast<double>(saving.keep_every), 2.0);
    EXPECT_LT(saving.vectors.size() + saving.block.size(), usual.vectors.size() + usual.block.size());
}

TEST(haploid_checkpoints, change_nothing_right_of_the_leftmost_one) {
    input_source source(16);
    for (const std::size_t interval : {1U, 2U, 4U, 7U}) {
        constexpr int n_sites = 53;
        haploid_case c = random_case(source, 21, n_sites, 1e-3, 0.5);
        haploid_tables full_tables, kept_tables;
        haploid_results full, kept;
        double full_L = 0.0, kept_L = 0.0;
        {
            seeded_draws draws(3);
            full_L = haploid_forward(c.problem(), full_tables);
            haploid_walk(c.problem(), full_tables, {true, true, false}, c.requests, full);
        }
        c.set_checkpoints(interval);
        {
            seeded_draws draws(3);
            kept_L = haploid_forward(c.problem(), kept_tables);
            haploid_walk(c.problem(), kept_tables, {true, true, false}, c.requests, kept);
        }
        EXPECT_PRED3(nearly_equal, full_L, kept_L, 1e-12);
        const std::size_t leftmost = (n_sites - 1) % interval;
        EXPECT_TRUE(c.plain.sites[leftmost].kept);
        for (std::size_t v = leftmost; v < n_sites; ++v) {
            EXPECT_EQ(full.state[v], kept.state[v]);
            if (c.plain.sites[v].draw_allele) {
                EXPECT_EQ(full.allele[v], kept.allele[v]);
            }
            EXPECT_NEAR(copied_one(full.weights[v]), copied_one(kept.weights[v]), 1e-12);
        }
    }
}

TEST(haploid_checkpoints, leave_their_block_to_the_next_sweep_of_the_same_size) {
    input_source source(17);
    haploid_tables tables;
    std::vector<std::vector<double>> local;
    for (int repeat = 0; repeat < 4; ++repeat) {
        haploid_case c = random_case(source, 11, 11, 1e-3, 0.4);
        c.set_checkpoints(4);
        c.plain.local = local;
        expect_agreement(c, {true, true, false}, repeat, tables);
        local = c.plain.local;
    }
}

TEST(haploid_checkpoints, without_states_give_no_state) {
    input_source source(18);
    haploid_case c = random_case(source, 0, 6, 1e-3, 0.5);
    c.set_checkpoints(2);
    expect_agreement(c, {true, false, false}, 4);
}

}  // namespace
