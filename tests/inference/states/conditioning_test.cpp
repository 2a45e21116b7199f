#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>
#include <utility>
#include <vector>

#include "inference/inference_tools.h"
#include "inference/model_run.h"
#include "inference/states/conditioning.h"
#include "inference/update/workspace.h"
#include "model/data.h"
#include "random/random.h"
#include "support/scripted_draws.h"

namespace {

using state_list = std::vector<std::pair<int, int>>;  // panel and haplotype

state_list chosen(const data& run) {
    state_list list;
    for (std::size_t k = 0; k < run.cond_states.size(); ++k) {
        list.emplace_back(run.cond_states.panel[k], run.cond_states.hap[k]);
    }
    return list;
}

// What may be copied in an update of panel from cond_panel, in order; own haplotypes first .. first + n - 1 left out.
state_list candidates(const data& run, int panel, int cond_panel, int first, int n_own) {
    std::vector<int> panels;
    if (cond_panel > panel) {
        panels = {cond_panel};
    } else {
        for (int p = 0; p <= cond_panel; ++p) panels.push_back(p);
    }
    state_list list;
    for (const int p : panels) {
        for (int h = 0; h < run.panels[static_cast<std::size_t>(p)].n_hap; ++h) {
            const bool own = p == panel && panel == cond_panel && h >= first && h < first + n_own;
            if (!own) list.emplace_back(p, h);
        }
    }
    return list;
}

struct update_kind {
    int panel, cond_panel, ploidy, hap;
};
// Every pool, haploid, and diploid where individuals are updated from their own set.
const std::vector<update_kind> all_updates{{0, 0, 0, 3}, {0, 1, 0, 2}, {0, 2, 0, 1}, {1, 0, 0, 2},
                                           {1, 1, 0, 3}, {1, 1, 1, 2}, {1, 2, 0, 1}, {2, 0, 0, 5},
                                           {2, 1, 0, 4}, {2, 2, 0, 3}, {2, 2, 1, 4}};

int n_own_of(const update_kind& u) {
    return u.panel == u.cond_panel ? u.ploidy + 1 : 0;
}

std::string name_of(const update_kind& u) {
    return "panel " + std::to_string(u.panel) + " from " + std::to_string(u.cond_panel) + " ploidy " +
           std::to_string(u.ploidy);
}

class conditioning : public ::testing::Test {
  protected:
    // Sites of all types, holes and placeholders among them.
    void make(std::array<int, 3> n_hap, int n_sites = 90) {
        for (int s = 0; s < n_sites; ++s) {
            snp& site = made.add_site(100 + 10 * s, source.integer(0, 3));
            site.ref_alleles_missing = source.chance(0.3);
            if (source.chance(0.5)) site.known_haps_flags.assign(1, false);
        }
        run.plan.n_panels = 3;
        made.list_sites();
        made.give_haplotypes(n_hap);
        made.fill_haplotypes(source);
    }
    void set_states(const update_kind& u, int K) { made.set_states(u.ploidy, u.panel, u.cond_panel, K); }
    int available(const update_kind& u) const {
        return static_cast<int>(candidates(run, u.panel, u.cond_panel, u.hap, n_own_of(u)).size());
    }

    input_source source{1};
    model_run made;
    data& run = made.run;
};

// --- taking all -----------------------------------------------------------------------------------------------------

TEST_F(conditioning, all_candidates_are_taken_in_order_without_a_draw) {
    make({7, 6, 8});
    for (const update_kind& u : all_updates) {
        for (const int more : {0, 1, 50}) {
            set_states(u, available(u) + more);
            const state_list expected = candidates(run, u.panel, u.cond_panel, u.hap, n_own_of(u));
            listed_draws draws({});
            choose_random_conditioning_states(run, u.hap, u.ploidy, u.panel, u.cond_panel);
            EXPECT_EQ(expected, chosen(run)) << "at random, " << name_of(u);
            choose_informed_conditioning_states(run, u.hap, u.ploidy, u.panel, u.cond_panel, u.ploidy == 0);
            EXPECT_EQ(expected, chosen(run)) << "informed, " << name_of(u);
        }
    }
}

TEST_F(conditioning, nobody_is_left_out_when_no_haplotype_is_named) {
    make({7, 6, 8});
    made.set_states(0, 2, 0, 7);
    listed_draws draws({});
    choose_random_conditioning_states(run, -1, 0, 2, 0);
    EXPECT_EQ(candidates(run, 2, 0, -9, 0), chosen(run));
}

// --- at random ------------------------------------------------------------------------------------------------------

TEST_F(conditioning, a_random_choice_is_a_sorted_sample_of_the_running_index) {
    for (const std::array<int, 3>& n_hap : {std::array{7, 6, 8}, {30, 0, 40}, {0, 6, 8}}) {
        model_run small;
        small.give_haplotypes(n_hap);
        data& r = small.run;
        for (const update_kind& u : all_updates) {
            const state_list pool = candidates(r, u.panel, u.cond_panel, -9, 0);
            const int n_own = n_own_of(u);
            const int start = u.cond_panel <= u.panel ? 0 : u.cond_panel == 1 ? n_hap[0] : n_hap[0] + n_hap[1];
            const int own = u.panel == 2 ? n_hap[0] + n_hap[1] + u.hap : u.panel == 1 ? n_hap[0] + u.hap : u.hap;
            const int immune1 = n_own >= 1 ? own : -1, immune2 = n_own == 2 ? own + 1 : -1;
            const int N = static_cast<int>(pool.size());
            if (n_own > 0 && u.hap + n_own > n_hap[static_cast<std::size_t>(u.panel)]) continue;
            for (int K = 0; K < N - n_own; ++K) {
                small.set_states(u.ploidy, u.panel, u.cond_panel, K);
                std::vector<int> drawn(static_cast<std::size_t>(K));
                double next = 0.0;
                {
                    seeded_draws draws(K);
                    RandomPermutation2::Next(N, K, drawn.data(), start, immune1, immune2);
                    next = draws.next();
                }
                std::sort(drawn.begin(), drawn.end());
                state_list expected;
                for (const int index : drawn) {
                    if (index < n_hap[0]) {
                        expected.emplace_back(0, index);
                    } else if (index < n_hap[0] + n_hap[1]) {
                        expected.emplace_back(1, index - n_hap[0]);
                    } else {
                        expected.emplace_back(2, index - n_hap[0] - n_hap[1]);
                    }
                }
                seeded_draws draws(K);
                choose_random_conditioning_states(r, u.hap, u.ploidy, u.panel, u.cond_panel);
                EXPECT_EQ(expected, chosen(r)) << name_of(u) << " K " << K;
                EXPECT_EQ(next, draws.next());
                EXPECT_TRUE(std::is_sorted(expected.begin(), expected.end()));
                for (const auto& state : expected) EXPECT_EQ(1, std::count(pool.begin(), pool.end(), state));
                for (int h = u.hap; h < u.hap + n_own; ++h) {
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
    choose_random_conditioning_states(run, 0, 0, 2, 2);
    for (const auto& [panel, hap] : chosen(run)) EXPECT_NE(1, panel);
    EXPECT_EQ(8U, run.cond_states.size());
}

// --- informed -------------------------------------------------------------------------------------------------------

struct settings {
    bool fill_holes = false, scaffold = false;
    int hole_fill_to = -1;
};

bool counts(const data& run, const snp& site, const update_kind& u) {
    const bool full = !(run.params.fill_holes && u.panel == u.cond_panel && u.panel == run.plan.hole_fill_to);
    if (site.type < u.panel || site.type == run.plan.n_panels) return false;
    if (run.params.fill_holes && site.type < u.cond_panel) return false;
    if (!full && site.ref_alleles_missing) return false;
    return !run.params.choose_states_from_scaffold || !site.known_haps_flags.empty();
}

int distance(const data& run, const update_kind& u, int hap, const std::pair<int, int>& other) {
    int n = 0;
    for (const snp* site : run.sites.in_order) {
        const auto s = static_cast<std::size_t>(site->index);
        if (!counts(run, *site, u)) continue;
        const int x = run.panels[static_cast<std::size_t>(u.panel)].haps.allele(static_cast<std::size_t>(hap), s);
        const int y =
            run.panels[static_cast<std::size_t>(other.first)].haps.allele(static_cast<std::size_t>(other.second), s);
        if (x != y) ++n;
    }
    return n;
}

// The candidates with the K smallest figures, ties at the last place broken by marks.
template <typename Figure>
state_list nearest(const state_list& pool, const std::vector<Figure>& figures, int K) {
    std::vector<Figure> sorted = figures;
    std::sort(sorted.begin(), sorted.end());
    const auto last = static_cast<std::size_t>(K - 1);
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
    for (const settings& how : {settings{}, {true, false, 0}, {true, false, 1}, {false, true, -1}, {true, true, 0}}) {
        run.params.fill_holes = how.fill_holes;
        run.plan.hole_fill_to = how.hole_fill_to;
        run.params.choose_states_from_scaffold = how.scaffold;
        run.work = std::make_unique<sweep_workspace>();
        for (const update_kind& u : all_updates) {
            const state_list pool = candidates(run, u.panel, u.cond_panel, u.hap, n_own_of(u));
            std::vector<int> figures;
            for (const auto& other : pool) {
                const int a = distance(run, u, u.hap, other);
                figures.push_back(u.ploidy == 0 ? a : std::min(a, distance(run, u, u.hap + 1, other)));
            }
            for (const int K : {1, 2, 5, static_cast<int>(pool.size()) - 1}) {
                set_states(u, K);
                state_list expected;
                double next = 0.0;
                {
                    seeded_draws draws(K);
                    expected = nearest(pool, figures, K);
                    next = draws.next();
                }
                seeded_draws draws(K);
                choose_informed_conditioning_states(run, u.hap, u.ploidy, u.panel, u.cond_panel, u.ploidy == 0);
                EXPECT_EQ(expected, chosen(run)) << name_of(u) << " K " << K;
                EXPECT_EQ(next, draws.next());
            }
        }
    }
}

TEST_F(conditioning, an_informed_choice_sees_changed_haplotypes) {
    make({12, 0, 6});
    const update_kind u{2, 0, 0, 1};
    set_states(u, 4);
    const state_list pool = candidates(run, 2, 0, -9, 0);
    for (int repeat = 0; repeat < 20; ++repeat) {
        for (int change = 0; change < 5; ++change) {
            const auto p = static_cast<std::size_t>(source.integer(0, 1) * 2);
            const auto h = static_cast<std::size_t>(source.integer(0, run.panels[p].n_hap - 1));
            const auto s = static_cast<std::size_t>(source.integer(0, 89));
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
        choose_informed_conditioning_states(run, u.hap, 0, 2, 0, true);
        EXPECT_EQ(expected, chosen(run));
    }
}

// An individual's two haplotypes may share the states of a haploid update: then both count.
TEST_F(conditioning, a_haploid_choice_may_look_at_both_haplotypes) {
    make({14, 0, 6});
    const update_kind u{2, 0, 0, 2};
    set_states(u, 5);
    const state_list pool = candidates(run, 2, 0, -9, 0);
    std::vector<int> figures;
    for (const auto& other : pool) figures.push_back(std::min(distance(run, u, 2, other), distance(run, u, 3, other)));
    state_list expected;
    {
        seeded_draws draws(1);
        expected = nearest(pool, figures, 5);
    }
    seeded_draws draws(1);
    choose_informed_conditioning_states(run, 2, 0, 2, 0, false);
    EXPECT_EQ(expected, chosen(run));
}

TEST_F(conditioning, like_haplotypes_make_an_informed_choice_uniform) {
    make({10, 0, 2});
    for (int h = 0; h < 10; ++h) {
        for (std::size_t s = 0; s < run.sites.in_order.size(); ++s)
            run.panels[0].haps.set(static_cast<std::size_t>(h), s, 1);
    }
    made.set_states(0, 2, 0, 3);
    std::vector<int> drawn(3);
    {
        seeded_draws draws(4);
        RandomPermutation2::Next(10, 3, drawn.data(), 0, -1, -1);
    }
    std::sort(drawn.begin(), drawn.end());
    seeded_draws draws(4);
    choose_informed_conditioning_states(run, 0, 0, 2, 0, true);
    EXPECT_EQ(drawn, run.cond_states.hap);
}

// --- records --------------------------------------------------------------------------------------------------------

TEST_F(conditioning, diploid_choices_of_the_study_are_recorded_by_individual) {
    make({15, 10, 12});
    run.params.show_diploid_copy_states = true;
    auto& records = model_run::at(run.copy_states, 1, 2, 2);
    records.resize(6);
    const update_kind u{2, 2, 1, 4};
    set_states(u, 6);
    seeded_draws draws(2);
    for (std::size_t n = 1; n <= 2; ++n) {
        choose_informed_conditioning_states(run, 4, 1, 2, 2, false);
        const copy_state_record& record = records[2];
        ASSERT_EQ(6 * n, record.panel.size()) << "the record grows";
        ASSERT_EQ(6 * n, record.dist_b.size());
        for (std::size_t k = 0; k < 6; ++k) {
            const std::size_t i = 6 * (n - 1) + k;
            const auto state = chosen(run)[k];
            EXPECT_EQ(state, std::pair(record.panel[i], record.hap[i]));
            EXPECT_EQ(distance(run, u, 4, state), record.dist_a[i]);
            EXPECT_EQ(distance(run, u, 5, state), record.dist_b[i]);
        }
    }
    for (const std::size_t other : {0U, 1U, 3U, 4U, 5U}) EXPECT_TRUE(records[other].panel.empty());
}

TEST_F(conditioning, haploid_choices_from_the_references_are_recorded_by_haplotype) {
    make({15, 10, 12});
    run.params.show_haploid_copy_states = true;
    for (const int cond : {0, 1}) {
        auto& records = model_run::at(run.copy_states, 0, 2, cond);
        records.resize(12);
        const update_kind u{2, cond, 0, 7};
        set_states(u, 4);
        seeded_draws draws(2);
        choose_informed_conditioning_states(run, 7, 0, 2, cond, true);
        const copy_state_record& record = records[7];
        ASSERT_EQ(4U, record.hap.size());
        EXPECT_TRUE(record.dist_b.empty());
        for (std::size_t k = 0; k < 4; ++k) {
            EXPECT_EQ(chosen(run)[k], std::pair(record.panel[k], record.hap[k]));
            EXPECT_EQ(distance(run, u, 7, chosen(run)[k]), record.dist_a[k]);
        }
    }
}

TEST_F(conditioning, taking_all_is_recorded_with_distances_of_zero) {
    make({3, 0, 4});
    run.params.show_diploid_copy_states = true;
    model_run::at(run.copy_states, 1, 2, 2).resize(2);
    made.set_states(1, 2, 2, 5);
    choose_informed_conditioning_states(run, 2, 1, 2, 2, false);
    const copy_state_record& record = model_run::at(run.copy_states, 1, 2, 2)[1];
    EXPECT_EQ((std::vector<int>{0, 0, 0, 2, 2}), record.panel);
    EXPECT_EQ((std::vector<int>{0, 1, 2, 0, 1}), record.hap);
    EXPECT_EQ(std::vector<int>(5, 0), record.dist_a);
    EXPECT_EQ(std::vector<int>(5, 0), record.dist_b);
}

TEST_F(conditioning, nothing_else_is_recorded) {
    make({15, 10, 12});
    for (const bool diploid : {false, true}) {
        run.params.show_diploid_copy_states = diploid;
        run.params.show_haploid_copy_states = !diploid;
        for (auto& mode : run.copy_states) {
            for (auto& panel : mode) {
                for (auto& records : panel) records.assign(12, {});
            }
        }
        for (const update_kind& u : all_updates) {
            const bool recorded =
                diploid ? u.ploidy == 1 && u.panel == 2 : u.ploidy == 0 && u.panel == 2 && u.cond_panel < 2;
            set_states(u, 3);
            seeded_draws draws(3);
            choose_informed_conditioning_states(run, u.hap, u.ploidy, u.panel, u.cond_panel, u.ploidy == 0);
            std::size_t n = 0;
            for (const auto& mode : run.copy_states) {
                for (const auto& panel : mode) {
                    for (const auto& records : panel) {
                        for (const copy_state_record& record : records) n += record.panel.size();
                    }
                }
            }
            EXPECT_EQ(recorded, n > 0) << name_of(u);
            for (auto& mode : run.copy_states) {
                for (auto& panel : mode) {
                    for (auto& records : panel) records.assign(12, {});
                }
            }
        }
    }
}

// --- from a matrix --------------------------------------------------------------------------------------------------

class matrix_choice : public conditioning {
  protected:
    void make_matrix(bool by_hap, int largest) {
        (by_hap ? run.params.distances_by_hap_file : run.params.distances_file) = "matrix";
        n_units = {run.panels[0].n_hap, by_hap ? run.panels[1].n_hap : run.panels[1].n_ind,
                   by_hap ? run.panels[2].n_hap : run.panels[2].n_ind};
        const auto N = static_cast<std::size_t>(n_units[0] + n_units[1] + n_units[2]);
        run.dist_matrix.assign(N, std::vector<double>(N, 0.0));
        for (auto& row : run.dist_matrix) {
            for (double& value : row) value = source.integer(0, largest) * 0.125;
        }
    }
    // Where a unit stands in the matrix.
    std::size_t place(int panel, int unit) const {
        int index = unit;
        for (int p = 0; p < panel; ++p) index += n_units[static_cast<std::size_t>(p)];
        return static_cast<std::size_t>(index);
    }
    void expect_choice(const update_kind& u, int argument, bool single, const state_list& pool,
                       const std::vector<std::size_t>& rows, bool by_hap, int K) {
        std::vector<double> figures;
        for (const auto& [panel, hap] : pool) {
            const std::size_t column = place(panel, by_hap || panel == 0 ? hap : hap / 2);
            double figure = run.dist_matrix[rows[0]][column];
            for (const std::size_t row : rows) figure = std::min(figure, run.dist_matrix[row][column]);
            figures.push_back(figure);
        }
        set_states(u, K);
        state_list expected;
        double next = 0.0;
        {
            seeded_draws draws(K);
            expected = nearest(pool, figures, K);
            next = draws.next();
        }
        seeded_draws draws(K);
        choose_conditioning_states_from_dist_matrix(run, argument, u.ploidy, u.panel, u.cond_panel, single);
        EXPECT_EQ(expected, chosen(run)) << name_of(u) << " K " << K;
        EXPECT_EQ(next, draws.next());
    }
    std::array<int, 3> n_units{};
};

TEST_F(matrix_choice, by_haplotype_for_one_haplotype) {
    make({9, 6, 8});
    make_matrix(true, 4);
    for (const update_kind& u : all_updates) {
        if (u.ploidy == 1) continue;
        const state_list pool = candidates(run, u.panel, u.cond_panel, u.hap, n_own_of(u));
        for (const int K : {1, 2, 4}) expect_choice(u, u.hap, true, pool, {place(u.panel, u.hap)}, true, K);
    }
}

TEST_F(matrix_choice, by_haplotype_for_the_two_of_an_individual) {
    make({9, 6, 8});
    make_matrix(true, 6);
    for (const int panel : {1, 2}) {
        const int ind = 1, hap = 2;
        const std::vector<std::size_t> rows{place(panel, hap), place(panel, hap + 1)};
        for (const int K : {1, 3, 8}) {
            expect_choice({panel, panel, 1, hap}, ind, false, candidates(run, panel, panel, hap, 2), rows, true, K);
        }
    }
}

TEST_F(matrix_choice, by_individual_gives_both_haplotypes_the_figure) {
    make({9, 6, 8});
    make_matrix(false, 4);
    for (const int panel : {1, 2}) {
        const int ind = 2, hap = 4;
        for (const int K : {1, 3, 8}) {
            expect_choice({panel, panel, 1, hap}, ind, false, candidates(run, panel, panel, hap, 2),
                          {place(panel, ind)}, false, K);
        }
        for (int cond = 0; cond < panel; ++cond) {
            for (const int K : {1, 3, 6}) {
                expect_choice({panel, cond, 0, hap}, ind, false, candidates(run, panel, cond, -9, 0),
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
        choose_conditioning_states_from_dist_matrix(run, 0, 1, 2, 2, false);
        ASSERT_EQ(3U, run.cond_states.size());
        const bool first = std::count(run.cond_states.hap.begin(), run.cond_states.hap.end(), 2) == 1;
        const bool second = std::count(run.cond_states.hap.begin(), run.cond_states.hap.end(), 3) == 1;
        n_split += first != second ? 1U : 0U;
    }
    EXPECT_GT(n_split, 0U);
}

TEST_F(matrix_choice, one_individual_at_the_threshold_keeps_both_haplotypes_without_a_draw) {
    make({0, 0, 6});
    make_matrix(false, 0);
    run.dist_matrix[0] = {0.0, 1.0, 2.0};
    made.set_states(1, 2, 2, 2);
    listed_draws draws({});
    choose_conditioning_states_from_dist_matrix(run, 0, 1, 2, 2, false);
    EXPECT_EQ((state_list{{2, 2}, {2, 3}}), chosen(run));
}

TEST_F(matrix_choice, takes_all_without_a_draw) {
    make({5, 4, 6});
    make_matrix(true, 3);
    listed_draws draws({});
    for (const update_kind& u : all_updates) {
        if (u.ploidy == 1 || n_own_of(u) > 0) continue;
        set_states(u, available(u));
        choose_conditioning_states_from_dist_matrix(run, u.hap, 0, u.panel, u.cond_panel, true);
        EXPECT_EQ(candidates(run, u.panel, u.cond_panel, -9, 0), chosen(run)) << name_of(u);
    }
    for (const int panel : {1, 2}) {
        made.set_states(1, panel, panel, panel == 1 ? 7 : 13);
        choose_conditioning_states_from_dist_matrix(run, 1, 1, panel, panel, false);
        EXPECT_EQ(candidates(run, panel, panel, 2, 2), chosen(run));
    }
    made.set_states(0, 0, 0, 4);
    choose_conditioning_states_from_dist_matrix(run, 3, 0, 0, 0, true);
    EXPECT_EQ(candidates(run, 0, 0, 3, 1), chosen(run));
}

// A single haplotype is counted like two when it is asked whether all are to be taken.
TEST_F(matrix_choice, takes_all_one_candidate_early_for_a_single_haplotype) {
    make({5, 4, 6});
    make_matrix(true, 3);
    listed_draws draws({});
    made.set_states(0, 2, 2, 13);
    choose_conditioning_states_from_dist_matrix(run, 2, 0, 2, 2, true);
    state_list expected = candidates(run, 2, 2, 2, 1);
    ASSERT_EQ(14U, expected.size());
    expected.pop_back();
    EXPECT_EQ(expected, chosen(run));
}

TEST_F(matrix_choice, of_a_haploid_male_leaves_out_his_one_haplotype) {
    make({6, 0, 5});
    run.plan.chrx_haploid = run.panels[1].sexes_differ = run.panels[2].sexes_differ = true;
    run.panels[2].ploidy = {2, 1, 2};
    run.panels[2].first_haps = {0, 2, 3};
    run.panels[2].n_ind = 3;
    make_matrix(true, 5);
    const update_kind male{2, 2, 0, 2};
    for (const int K : {1, 4}) expect_choice(male, 1, false, candidates(run, 2, 2, 2, 1), {place(2, 2)}, true, K);
    const update_kind female{2, 2, 1, 3};
    for (const int K : {1, 4}) {
        expect_choice(female, 2, false, candidates(run, 2, 2, 3, 2), {place(2, 3), place(2, 4)}, true, K);
    }
}

}  // namespace
