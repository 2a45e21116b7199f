#include "inference/states/conditioning.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "inference/inference_tools.h"
#include "inference/model_run.h"
#include "random/random.h"
#include "support/scripted_draws.h"

namespace {

using state_list = std::vector<std::pair<std::size_t, std::size_t>>;  // panel and haplotype

state_list listed(const conditioning_states& states) {
    state_list list;
    for (std::size_t k = 0; k < states.size(); ++k) list.emplace_back(states.panel[k], states.hap[k]);
    return list;
}

// What may be copied in an update of panel from cond_panel, in order; own haplotypes first .. first + n - 1 left out.
state_list candidates(const model_rooms& run, std::size_t panel, std::size_t cond_panel, std::size_t first,
                      std::size_t n_own) {
    std::vector<std::size_t> panels;
    if (cond_panel > panel) {
        panels = {cond_panel};
    } else {
        for (std::size_t p = 0; p <= cond_panel; ++p) panels.push_back(p);
    }
    state_list list;
    for (const std::size_t p : panels) {
        for (std::size_t h = 0; h < run.panels[p].n_hap; ++h) {
            const bool own = p == panel && panel == cond_panel && h >= first && h < first + n_own;
            if (!own) list.emplace_back(p, h);
        }
    }
    return list;
}

struct update_kind {
    std::size_t panel, cond_panel, ploidy, hap;
};
// Every pool, haploid, and diploid where individuals are updated from their own set.
const std::vector<update_kind> all_updates{{0, 0, 0, 3}, {0, 1, 0, 2}, {0, 2, 0, 1}, {1, 0, 0, 2},
                                           {1, 1, 0, 3}, {1, 1, 1, 2}, {1, 2, 0, 1}, {2, 0, 0, 5},
                                           {2, 1, 0, 4}, {2, 2, 0, 3}, {2, 2, 1, 4}};

std::size_t n_own_of(const update_kind& u) {
    return u.panel == u.cond_panel ? u.ploidy + 1 : 0;
}

std::string name_of(const update_kind& u) {
    return "panel " + std::to_string(u.panel) + " from " + std::to_string(u.cond_panel) + " ploidy " +
           std::to_string(u.ploidy);
}

class conditioning : public ::testing::Test {
  protected:
    // Sites of all types, holes and placeholders among them.
    void make(std::array<std::size_t, 3> n_hap, long n_sites = 90) {
        for (long s = 0; s < n_sites; ++s) {
            snp& site = made.add_site(100 + 10 * s, source.index(4));
            site.ref_alleles_missing = source.chance(0.3);
            if (source.chance(0.5)) site.known_haps_flags.assign(1, false);
        }
        run.plan.n_panels = 3;
        made.list_sites();
        made.give_haplotypes(n_hap);
        made.fill_haplotypes(source);
    }
    void set_states(const update_kind& u, std::size_t K) { made.set_states(u.ploidy, u.panel, u.cond_panel, K); }
    std::size_t available(const update_kind& u) const {
        return candidates(run, u.panel, u.cond_panel, u.hap, n_own_of(u)).size();
    }
    static state_target target_of(const update_kind& u) {
        return {u.ploidy, u.panel, u.cond_panel, u.hap, u.ploidy + 1};
    }
    state_list choose_random(const state_target& target) {
        choose_random_conditioning_states(run.inputs(), target, states);
        return listed(states);
    }
    state_list choose_informed(const state_target& target, copy_state_record* record = nullptr,
                               hole_alleles holes = hole_alleles::known) {
        choose_informed_conditioning_states(run.inputs(), target, holes, work, states, record);
        return listed(states);
    }

    input_source source{1};
    model_run made;
    model_rooms& run = made.run;
    conditioning_states states;
    choice_workspace work;
};

// --- taking all -----------------------------------------------------------------------------------------------------

TEST_F(conditioning, all_candidates_are_taken_in_order_without_a_draw) {
    make({7, 6, 8});
    for (const update_kind& u : all_updates) {
        for (const std::size_t more : {0U, 1U, 50U}) {
            set_states(u, available(u) + more);
            const state_list expected = candidates(run, u.panel, u.cond_panel, u.hap, n_own_of(u));
            listed_draws draws;
            EXPECT_EQ(expected, choose_random(target_of(u))) << "at random, " << name_of(u);
            EXPECT_EQ(expected, choose_informed(target_of(u))) << "informed, " << name_of(u);
        }
    }
}

TEST_F(conditioning, nobody_is_left_out_when_no_haplotype_is_named) {
    make({7, 6, 8});
    made.set_states(0, 2, 0, 7);
    listed_draws draws;
    EXPECT_EQ(candidates(run, 2, 0, 0, 0), choose_random({0, 2, 0, std::nullopt, 1}));
}

// --- at random ------------------------------------------------------------------------------------------------------

TEST_F(conditioning, a_random_choice_is_a_sorted_sample_of_the_running_index) {
    for (const std::array<std::size_t, 3>& n_hap : {std::array<std::size_t, 3>{7, 6, 8}, {30, 0, 40}, {0, 6, 8}}) {
        model_run small;
        small.give_haplotypes(n_hap);
        model_rooms& r = small.run;
        for (const update_kind& u : all_updates) {
            const state_list pool = candidates(r, u.panel, u.cond_panel, 0, 0);
            const std::size_t n_own = n_own_of(u);
            const std::size_t start = u.cond_panel <= u.panel ? 0 : u.cond_panel == 1 ? n_hap[0] : n_hap[0] + n_hap[1];
            const std::size_t own = u.panel == 2   ? n_hap[0] + n_hap[1] + u.hap
                                    : u.panel == 1 ? n_hap[0] + u.hap
                                                   : u.hap;
            const int immune1 = n_own >= 1 ? static_cast<int>(own) : -1;
            const int immune2 = n_own == 2 ? immune1 + 1 : -1;
            const std::size_t N = pool.size();
            if (n_own > 0 && u.hap + n_own > n_hap[u.panel]) continue;
            for (std::size_t K = 0; K + n_own < N; ++K) {
                small.set_states(u.ploidy, u.panel, u.cond_panel, K);
                std::vector<int> drawn(K);
                double next = 0.0;
                {
                    seeded_draws draws(static_cast<int>(K));
                    RandomPermutation2::Next(static_cast<int>(N), static_cast<int>(K), drawn.data(),
                                             static_cast<int>(start), immune1, immune2);
                    next = draws.next();
                }
                std::sort(drawn.begin(), drawn.end());
                state_list expected;
                for (const int value : drawn) {
                    const auto index = static_cast<std::size_t>(value);
                    if (index < n_hap[0]) {
                        expected.emplace_back(0, index);
                    } else if (index < n_hap[0] + n_hap[1]) {
                        expected.emplace_back(1, index - n_hap[0]);
                    } else {
                        expected.emplace_back(2, index - n_hap[0] - n_hap[1]);
                    }
                }
                seeded_draws draws(static_cast<int>(K));
                choose_random_conditioning_states(r.inputs(), target_of(u), states);
                EXPECT_EQ(expected, listed(states)) << name_of(u) << " K " << K;
                EXPECT_EQ(next, draws.next());
                EXPECT_TRUE(std::is_sorted(expected.begin(), expected.end()));
                for (const auto& state : expected) EXPECT_EQ(1, std::count(pool.begin(), pool.end(), state));
                for (std::size_t h = u.hap; h < u.hap + n_own; ++h) {
                    EXPECT_EQ(0, std::count(expected.begin(), expected.end(), std::pair(u.panel, h)));
                }
            }
        }
    }
}

TEST_F(conditioning, an_empty_middle_panel_is_passed_over) {
    make({4, 0, 6});
    made.set_states(0, 2, 2, 8);
    std::vector<double> highest(8, 0.999999);  // the last free places, in turn
    listed_draws draws(highest);
    for (const auto& [panel, hap] : choose_random({0, 2, 2, 0, 1})) EXPECT_NE(1U, panel);
    EXPECT_EQ(8U, states.size());
}

// --- informed -------------------------------------------------------------------------------------------------------

struct settings {
    bool fill_holes = false, scaffold = false;
    std::optional<std::size_t> hole_fill_to;
};

bool counts(const model_rooms& run, const snp& site, const update_kind& u) {
    const bool full = !(run.plan.fill_holes && u.panel == u.cond_panel && u.panel == run.plan.hole_fill_to);
    if (site.type < u.panel || site.type == run.plan.n_panels) return false;
    if (run.plan.fill_holes && site.type < u.cond_panel) return false;
    if (!full && site.ref_alleles_missing) return false;
    return !run.params.choose_states_from_scaffold || !site.known_haps_flags.empty();
}

int distance(const model_rooms& run, const update_kind& u, std::size_t hap,
             const std::pair<std::size_t, std::size_t>& other) {
    int n = 0;
    for (const snp* site : run.sites.in_order) {
        const std::size_t s = site->index;
        if (!counts(run, *site, u)) continue;
        if (run.panels[u.panel].haps.allele(hap, s) != run.panels[other.first].haps.allele(other.second, s)) ++n;
    }
    return n;
}

// The candidates with the K smallest figures, ties at the last place broken by marks.
template <typename Figure>
state_list nearest(const state_list& pool, const std::vector<Figure>& figures, std::size_t K) {
    std::vector<Figure> sorted = figures;
    std::sort(sorted.begin(), sorted.end());
    const std::size_t last = K - 1;
    const Figure T = sorted[last];
    int A = 0, B = 0;
    for (std::size_t i = last + 1; i < sorted.size() && sorted[i] == T; ++i) ++A;
    if (A >= 1 && K >= 2) {
        for (std::size_t i = last; i-- > 0 && sorted[i] == T;) ++B;
    }
    std::vector<int> marks;
    if (A >= 1) {
        marks.resize(static_cast<std::size_t>(B + 1));
        RandomPermutation2::Next(A + B + 1, B + 1, marks.data(), 0, -1, -1);
    }
    state_list list;
    int n_tied = 0;
    for (std::size_t i = 0; i < pool.size(); ++i) {
        if (figures[i] < T) {
            list.push_back(pool[i]);
        } else if (figures[i] == T) {
            if (A == 0 || std::count(marks.begin(), marks.end(), n_tied) == 1) list.push_back(pool[i]);
            ++n_tied;
        }
    }
    return list;
}

TEST_F(conditioning, an_informed_choice_takes_the_nearest_at_the_counted_sites) {
    make({15, 10, 12});
    for (const settings& how :
         {settings{}, {true, false, 0}, {true, false, 1}, {false, true, std::nullopt}, {true, true, 0}}) {
        run.plan.fill_holes = how.fill_holes;
        run.plan.hole_fill_to = how.hole_fill_to;
        run.params.choose_states_from_scaffold = how.scaffold;
        work = {};
        for (const update_kind& u : all_updates) {
            const state_list pool = candidates(run, u.panel, u.cond_panel, u.hap, n_own_of(u));
            std::vector<int> figures;
            for (const auto& other : pool) {
                const int a = distance(run, u, u.hap, other);
                figures.push_back(u.ploidy == 0 ? a : std::min(a, distance(run, u, u.hap + 1, other)));
            }
            for (const std::size_t K : {std::size_t{1}, std::size_t{2}, std::size_t{5}, pool.size() - 1}) {
                set_states(u, K);
                state_list expected;
                double next = 0.0;
                {
                    seeded_draws draws(static_cast<int>(K));
                    expected = nearest(pool, figures, K);
                    next = draws.next();
                }
                seeded_draws draws(static_cast<int>(K));
                EXPECT_EQ(expected, choose_informed(target_of(u))) << name_of(u) << " K " << K;
                EXPECT_EQ(next, draws.next());
            }
        }
    }
}

TEST_F(conditioning, an_informed_choice_sees_changed_haplotypes) {
    make({12, 0, 6});
    const update_kind u{2, 0, 0, 1};
    set_states(u, 4);
    const state_list pool = candidates(run, 2, 0, 0, 0);
    for (int repeat = 0; repeat < 20; ++repeat) {
        for (int change = 0; change < 5; ++change) {
            const std::size_t p = source.index(2) * 2, h = source.index(run.panels[p].n_hap), s = source.index(90);
            run.panels[p].haps.set(h, s, source.integer(0, 1));
        }
        std::vector<int> figures;
        for (const auto& other : pool) figures.push_back(distance(run, u, u.hap, other));
        state_list expected;
        {
            seeded_draws draws(repeat);
            expected = nearest(pool, figures, 4);
        }
        seeded_draws draws(repeat);
        EXPECT_EQ(expected, choose_informed(target_of(u)));
    }
}

// An individual's two haplotypes may share the states of a haploid update: then both count.
TEST_F(conditioning, a_haploid_choice_may_look_at_both_haplotypes) {
    make({14, 0, 6});
    const update_kind u{2, 0, 0, 2};
    set_states(u, 5);
    const state_list pool = candidates(run, 2, 0, 0, 0);
    std::vector<int> figures;
    for (const auto& other : pool) figures.push_back(std::min(distance(run, u, 2, other), distance(run, u, 3, other)));
    state_list expected;
    {
        seeded_draws draws(1);
        expected = nearest(pool, figures, 5);
    }
    seeded_draws draws(1);
    EXPECT_EQ(expected, choose_informed({0, 2, 0, 2, 2}));
}

TEST_F(conditioning, like_haplotypes_make_an_informed_choice_uniform) {
    make({10, 0, 2});
    for (std::size_t h = 0; h < 10; ++h) {
        for (std::size_t s = 0; s < run.sites.size(); ++s) run.panels[0].haps.set(h, s, 1);
    }
    made.set_states(0, 2, 0, 3);
    std::vector<int> drawn(3);
    {
        seeded_draws draws(4);
        RandomPermutation2::Next(10, 3, drawn.data(), 0, -1, -1);
    }
    std::sort(drawn.begin(), drawn.end());
    seeded_draws draws(4);
    choose_informed({0, 2, 0, 0, 1});
    EXPECT_EQ(drawn, states.hap);
}

// Before they are filled, the holes of a panel tell nothing of its haplotypes.
TEST_F(conditioning, alleles_that_are_not_known_are_no_mismatch) {
    make({8, 20, 0});
    run.plan.fill_holes = true;
    run.plan.hole_fill_to = 0;
    const update_kind u{0, 1, 0, 3};
    set_states(u, 5);
    copy_state_record unknown, known;
    seeded_draws draws(6);
    choose_informed(target_of(u), &unknown, hole_alleles::not_known);
    choose_informed(target_of(u), &known, hole_alleles::known);
    std::size_t n_holes = 0;
    for (std::size_t k = 0; k < 5; ++k) {
        EXPECT_EQ(distance(run, u, 3, {1, known.hap[k]}), known.dist_a[k]);
        int n = 0;
        for (const snp* site : run.sites.in_order) {
            if (!counts(run, *site, u)) continue;
            if (site->ref_alleles_missing) {
                ++n_holes;
            } else if (run.panels[0].haps.allele(3, site->index) !=
                       run.panels[1].haps.allele(unknown.hap[k], site->index)) {
                ++n;
            }
        }
        EXPECT_EQ(n, unknown.dist_a[k]);
    }
    EXPECT_GT(n_holes, 0U);
}

// --- records --------------------------------------------------------------------------------------------------------

TEST_F(conditioning, a_record_grows_by_the_chosen_states_and_their_distances) {
    make({15, 10, 12});
    for (const update_kind& u : all_updates) {
        set_states(u, 6);
        copy_state_record record;
        seeded_draws draws(2);
        for (std::size_t n = 1; n <= 2; ++n) {
            const state_list chosen = choose_informed(target_of(u), &record);
            ASSERT_EQ(6 * n, record.panel.size());
            ASSERT_EQ(u.ploidy == 1 ? 6 * n : 0, record.dist_b.size()) << "of two haplotypes only";
            for (std::size_t k = 0; k < 6; ++k) {
                const std::size_t i = 6 * (n - 1) + k;
                EXPECT_EQ(chosen[k], std::pair(record.panel[i], record.hap[i]));
                EXPECT_EQ(distance(run, u, u.hap, chosen[k]), record.dist_a[i]);
                if (u.ploidy == 1) {
                    EXPECT_EQ(distance(run, u, u.hap + 1, chosen[k]), record.dist_b[i]);
                }
            }
        }
    }
}

TEST_F(conditioning, taking_all_is_recorded_with_distances_of_zero) {
    make({3, 0, 4});
    made.set_states(1, 2, 2, 5);
    copy_state_record record;
    choose_informed({1, 2, 2, 2, 2}, &record);
    EXPECT_EQ((std::vector<std::size_t>{0, 0, 0, 2, 2}), record.panel);
    EXPECT_EQ((std::vector<std::size_t>{0, 1, 2, 0, 1}), record.hap);
    EXPECT_EQ(std::vector<int>(5, 0), record.dist_a);
    EXPECT_EQ(std::vector<int>(5, 0), record.dist_b);
}

TEST_F(conditioning, without_states_nothing_is_chosen_or_recorded) {
    make({3, 0, 4});
    made.set_states(0, 2, 0, 0);
    copy_state_record record;
    listed_draws draws;
    EXPECT_TRUE(choose_informed({0, 2, 0, 0, 1}, &record).empty());
    EXPECT_TRUE(record.panel.empty());
}

// --- from a matrix --------------------------------------------------------------------------------------------------

class matrix_choice : public conditioning {
  protected:
    void make_matrix(bool by_hap, int largest) {
        (by_hap ? run.params.distances_by_hap_file : run.params.distances_file) = "matrix";
        n_units = {run.panels[0].n_hap, by_hap ? run.panels[1].n_hap : run.panels[1].n_ind,
                   by_hap ? run.panels[2].n_hap : run.panels[2].n_ind};
        const std::size_t N = n_units[0] + n_units[1] + n_units[2];
        matrix.assign(N, std::vector<double>(N, 0.0));
        for (auto& row : matrix) {
            for (double& value : row) value = source.integer(0, largest) * 0.125;
        }
    }
    // Where a unit stands in the matrix.
    std::size_t place(std::size_t panel, std::size_t unit) const {
        std::size_t index = unit;
        for (std::size_t p = 0; p < panel; ++p) index += n_units[p];
        return index;
    }
    state_list choose(const state_target& target) {
        choose_conditioning_states_from_dist_matrix(run.inputs(), matrix, target, work, states);
        return listed(states);
    }
    void expect_choice(const update_kind& u, const state_target& target, const state_list& pool,
                       const std::vector<std::size_t>& rows, bool by_hap, std::size_t K) {
        std::vector<double> figures;
        for (const auto& [panel, hap] : pool) {
            const std::size_t column = place(panel, by_hap || panel == 0 ? hap : hap / 2);
            double figure = matrix[rows[0]][column];
            for (const std::size_t row : rows) figure = std::min(figure, matrix[row][column]);
            figures.push_back(figure);
        }
        set_states(u, K);
        state_list expected;
        double next = 0.0;
        {
            seeded_draws draws(static_cast<int>(K));
            expected = nearest(pool, figures, K);
            next = draws.next();
        }
        seeded_draws draws(static_cast<int>(K));
        EXPECT_EQ(expected, choose(target)) << name_of(u) << " K " << K;
        EXPECT_EQ(next, draws.next());
    }
    distance_matrix matrix;
    std::array<std::size_t, 3> n_units{};
};

TEST_F(matrix_choice, by_haplotype_for_one_haplotype) {
    make({9, 6, 8});
    make_matrix(true, 4);
    for (const update_kind& u : all_updates) {
        if (u.ploidy == 1) continue;
        const state_list pool = candidates(run, u.panel, u.cond_panel, u.hap, n_own_of(u));
        for (const std::size_t K : {1U, 2U, 4U}) {
            expect_choice(u, target_of(u), pool, {place(u.panel, u.hap)}, true, K);
        }
    }
}

TEST_F(matrix_choice, by_haplotype_for_the_two_of_an_individual) {
    make({9, 6, 8});
    make_matrix(true, 6);
    for (const std::size_t panel : {1U, 2U}) {
        const std::size_t hap = 2;
        const std::vector<std::size_t> rows{place(panel, hap), place(panel, hap + 1)};
        for (const std::size_t K : {1U, 3U, 8U}) {
            expect_choice({panel, panel, 1, hap}, {1, panel, panel, hap, 2}, candidates(run, panel, panel, hap, 2),
                          rows, true, K);
        }
    }
}

TEST_F(matrix_choice, by_individual_gives_both_haplotypes_the_figure) {
    make({9, 6, 8});
    make_matrix(false, 4);
    for (const std::size_t panel : {1U, 2U}) {
        const std::size_t ind = 2, hap = 4;
        for (const std::size_t K : {1U, 3U, 8U}) {
            expect_choice({panel, panel, 1, hap}, {1, panel, panel, hap, 2}, candidates(run, panel, panel, hap, 2),
                          {place(panel, ind)}, false, K);
        }
        for (std::size_t cond = 0; cond < panel; ++cond) {
            for (const std::size_t K : {1U, 3U, 6U}) {
                expect_choice({panel, cond, 0, hap}, {0, panel, cond, hap, 2}, candidates(run, panel, cond, 0, 0),
                              {place(panel, ind)}, false, K);
            }
        }
    }
}

TEST_F(matrix_choice, a_tie_can_keep_one_haplotype_of_an_individual_and_drop_the_other) {
    make({0, 0, 6});
    make_matrix(false, 0);  // everybody is as near as everybody else
    made.set_states(1, 2, 2, 3);
    seeded_draws draws(3);
    std::size_t n_split = 0;
    for (int repeat = 0; repeat < 30; ++repeat) {
        ASSERT_EQ(3U, choose({1, 2, 2, 0, 2}).size());
        const bool first = std::count(states.hap.begin(), states.hap.end(), 2) == 1;
        const bool second = std::count(states.hap.begin(), states.hap.end(), 3) == 1;
        n_split += first != second ? 1U : 0U;
    }
    EXPECT_GT(n_split, 0U);
}

TEST_F(matrix_choice, one_individual_at_the_threshold_keeps_both_haplotypes_without_a_draw) {
    make({0, 0, 6});
    make_matrix(false, 0);
    matrix[0] = {0.0, 1.0, 2.0};
    made.set_states(1, 2, 2, 2);
    listed_draws draws;
    EXPECT_EQ((state_list{{2, 2}, {2, 3}}), choose({1, 2, 2, 0, 2}));
}

TEST_F(matrix_choice, takes_all_without_a_draw) {
    make({5, 4, 6});
    make_matrix(true, 3);
    listed_draws draws;
    for (const update_kind& u : all_updates) {
        if (u.ploidy == 1 || n_own_of(u) > 0) continue;
        set_states(u, available(u));
        EXPECT_EQ(candidates(run, u.panel, u.cond_panel, 0, 0), choose(target_of(u))) << name_of(u);
    }
    for (const std::size_t panel : {1U, 2U}) {
        made.set_states(1, panel, panel, panel == 1 ? 7 : 13);
        EXPECT_EQ(candidates(run, panel, panel, 2, 2), choose({1, panel, panel, 2, 2}));
    }
    made.set_states(0, 0, 0, 4);
    EXPECT_EQ(candidates(run, 0, 0, 3, 1), choose({0, 0, 0, 3, 1}));
}

// A single haplotype is counted like two when it is asked whether all are to be taken.
TEST_F(matrix_choice, takes_all_one_candidate_early_for_a_single_haplotype) {
    make({5, 4, 6});
    make_matrix(true, 3);
    listed_draws draws;
    made.set_states(0, 2, 2, 13);
    state_list expected = candidates(run, 2, 2, 2, 1);
    ASSERT_EQ(14U, expected.size());
    expected.pop_back();
    EXPECT_EQ(expected, choose({0, 2, 2, 2, 1}));
}

TEST_F(matrix_choice, of_a_haploid_male_leaves_out_his_one_haplotype) {
    make({6, 0, 5});
    set_chrx(run.plan, run.panels);
    set_ploidies(run.panels[2], {2, 1, 2});
    make_matrix(true, 5);
    const update_kind male{2, 2, 0, 2};
    for (const std::size_t K : {1U, 4U}) {
        expect_choice(male, target_of(male), candidates(run, 2, 2, 2, 1), {place(2, 2)}, true, K);
    }
    const update_kind female{2, 2, 1, 3};
    for (const std::size_t K : {1U, 4U}) {
        expect_choice(female, target_of(female), candidates(run, 2, 2, 3, 2), {place(2, 3), place(2, 4)}, true, K);
    }
}

}  // namespace
