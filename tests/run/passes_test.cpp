#include "run/passes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>
#include <string>
#include <vector>

#include "inference/inference_tools.h"
#include "model/data.h"
#include "model/intervals.h"
#include "params/switch_rates.h"
#include "reconcile/model_sites.h"
#include "reconcile/result_sums.h"
#include "support/log_capture.h"
#include "support/run_builder.h"

namespace {

constexpr std::size_t n_sites = 24;

// Four haplotypes in Panel 0, two individuals in Panel 1, three in the study; every third site is of type 0, every
// other third of type 1, the others are typed.
class passes : public ::testing::Test {
  protected:
    void SetUp() override {
        capture.open(run.log);
        parameters& p = run.params;
        p.o_file = capture.files.name("out");
        p.h_files = {"ref"};
        p.g_ref_file = "gref";
        p.verbose = true;
        run.plan.n_panels = 3;
        run.plan.n_study = 3;
        run.plan.int_lower_bp = 0;
        run.plan.int_upper_bp = 1000;
        run.plan.output_types = {true, true, true, false};
        run.plan.stored_iters = {0};
        for (std::size_t s = 0; s < n_sites; ++s) {
            snp& site = add_site(run.sites, 100 + static_cast<long>(s), s % 3);
            site.gen_pos = 0.1 * static_cast<double>(s);
            site.gtypes[1].assign(2, 3);
            site.gtypes[2] = {1, 3, 2};
        }
        list_sites(run.sites);
        run.panels[0].n_hap = 4;
        set_diploids(run.panels[1], 2);
        set_diploids(run.panels[2], 3);
        for (std::size_t panel = 0; panel < 3; ++panel) {
            panel_data& room = run.panels[panel];
            room.update.assign(panel == 0 ? room.n_hap : room.n_ind, true);
            room.ordered.assign(room.n_ind, false);
            room.needs_update = true;
            make_room(room, n_sites);
            for (std::size_t s = 0; s < n_sites; ++s) {
                if (s % 3 < panel) continue;
                room.haps.set_holds(s);
                for (std::size_t h = 0; h < room.n_hap; ++h) room.haps.set(h, s, source.integer(0, 1));
            }
        }
        for (auto& mode : run.models.k_states) mode = {{{2, 2, 2}, {2, 2, 2}, {2, 2, 2}}};
        const double mu = 0.01, a = 1.0 - mu;
        for (std::size_t panel = 0; panel < 3; ++panel) {
            for (std::size_t cond = 0; cond < 3; ++cond) {
                run.models.mutation[0][panel][cond] = {{{a, mu, 1.0, 0.0}, {mu, a, 1.0, 0.0}, {}}};
                run.models.mutation[1][panel][cond] = {{{a * a, 2 * a * mu, mu * mu, 1.0},
                                                        {a * mu, mu * mu + a * a, a * mu, 1.0},
                                                        {mu * mu, 2 * a * mu, a * a, 1.0}}};
            }
            const double quarter = 0.25;
            run.models.pr_alleles_00[panel] = run.models.pr_alleles_01[panel] =
                run.models.pr_alleles_10[panel] = {{{quarter, quarter}, {quarter, quarter}}};
        }
    }
    // What setup settles from the options.
    void settle() {
        list_model_sites(run.plan, run.sites, run.models);
        for (auto& mode : run.models.chains) {
            for (auto& panel : mode) {
                for (hmm_model& model : panel) {
                    model.hap_gap.assign(model.n_sites(), make_haploid_gap(0.1, 2));
                    model.dip_gap.assign(model.n_sites(), make_diploid_gap(0.1, 2));
                }
            }
        }
        for (auto& panel : run.models.hole_chains[0]) {
            for (hmm_model& model : panel) model.hap_gap.assign(model.n_sites(), make_haploid_gap(0.1, 2));
        }
        allocate_results(run.params, run.plan, run.panels, run.sites, haps_interval(run.params, run.plan), run.acc);
    }
    // Settles the run, and makes passes for an iteration.
    update_passes& start(const iteration& now) {
        settle();
        made.emplace(run, progress, distance_matrix{});
        made->start_iteration(now);
        capture.terminal.str("");
        return *made;
    }
    std::string said() const { return capture.terminal.str(); }

    log_capture capture;
    data run{capture.terminal, capture.notes};
    std::ostringstream screen;
    progress_line progress{screen, false};
    input_source source{1};
    seeded_draws draws{7};
    std::optional<update_passes> made;
};

constexpr iteration stored{.stored = true};
constexpr iteration burnin{};

// --- who is in hand -------------------------------------------------------------------------------------------------

TEST_F(passes, over_panel_0_tell_each_haplotype_and_pass_over_what_needs_no_update) {
    run.panels[0].update = {true, false, false, true};
    update_passes& pass = start(burnin);
    pass.update_panel0_haplotypes();
    EXPECT_EQ(
        "\r-updating haplotype [1/4] [hap 0]\r-updating haplotype [2/4]\r-updating haplotype [3/4]"
        "\r-updating haplotype [4/4] [hap 3]\n",
        said());
    EXPECT_EQ(2 * (n_sites - 1), pass.haploid_draws().n_stay + pass.haploid_draws().n_switch);
    EXPECT_EQ(0U, pass.diploid_draws().n_stay + pass.diploid_draws().n_switch);
}

TEST_F(passes, over_panel_1_run_pairs_in_silence_where_the_phase_is_known) {
    run.panels[1].ordered[1] = true;
    update_passes& pass = start(burnin);
    pass.update_panel1_individuals();
    EXPECT_EQ("\r-updating ref indiv [1/2] [dip]\r-updating ref indiv [2/2]\n", said());
    EXPECT_LT(0U, pass.diploid_draws().n_stay + pass.diploid_draws().n_switch);
}

TEST_F(passes, over_panel_1_run_one_haplotype_of_a_male) {
    run.plan.chrx_haploid = run.panels[1].sexes_differ = true;
    set_sexes(run.panels[1], {1, 2});
    update_passes& pass = start(burnin);
    pass.update_panel1_individuals();
    EXPECT_EQ("\r-updating ref indiv [1/2] [hap 0]\r-updating ref indiv [2/2] [dip]\n", said());
    pass.update_panel1_from_panel0();
    EXPECT_NE(std::string::npos, said().find("[1/2] [hap 0]\r-updating ref indiv [2/2] [hap 1] [hap 2]\n"));
}

TEST_F(passes, over_the_study_end_with_the_first_individuals_that_are_asked_for) {
    run.plan.n_study = 2;
    start(burnin).update_study_individuals();
    EXPECT_EQ("\r-updating inf indiv [1/2] [dip]\r-updating inf indiv [2/2] [dip]\n", said());
}

TEST_F(passes, tell_nothing_without_verbose_but_the_progress_line) {
    run.params.verbose = false;
    start(burnin).update_study_individuals();
    EXPECT_EQ("", said());
}

// --- imputation -----------------------------------------------------------------------------------------------------

TEST_F(passes, from_the_references_impute_both_haplotypes_from_panel_1_then_panel_0) {
    start(stored).impute_study_from_reference();
    EXPECT_EQ(
        "\r-updating inf indiv [1/3] [hap 0] [hap 1] [hap 0] [hap 1]"
        "\r-updating inf indiv [2/3] [hap 2] [hap 3] [hap 2] [hap 3]"
        "\r-updating inf indiv [3/3] [hap 4] [hap 5] [hap 4] [hap 5]\n",
        said());
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t s = 0; s < n_sites; ++s) {
            const double one = run.acc.gtype_acc[0].get(i, s), two = run.acc.gtype_acc[1].get(i, s);
            EXPECT_EQ(s % 3 < 2, one + two > 0.0) << "individual " << i << " site " << s;
            EXPECT_LE(one + two, 1.0 + 1e-12);
        }
    }
}

TEST_F(passes, from_the_references_leave_out_types_that_are_not_put_out) {
    run.plan.output_types[0] = false;
    start(stored).impute_study_from_reference();
    EXPECT_EQ(0U, said().find("\r-updating inf indiv [1/3] [hap 0] [hap 1]\r"));
    run.plan.output_types[1] = false;
    start(stored).impute_study_from_reference();
    EXPECT_EQ("", said());
}

TEST_F(passes, from_the_references_count_nothing_in_other_iterations) {
    run.params.use_panel1_for_type0_imputation = run.params.stage_one = true;
    start(burnin).impute_study_from_reference();
    for (std::size_t s = 0; s < n_sites; ++s) EXPECT_EQ(0.0, run.acc.gtype_acc[1].get(0, s));
}

// What impute_study_from_reference adds to the sums of Panel 2.
std::vector<double> genotype_sums(const data& run) {
    std::vector<double> sums;
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t s = 0; s < n_sites; ++s) {
            for (const sum_table& table : run.acc.gtype_acc) sums.push_back(table.get(i, s));
        }
    }
    return sums;
}

TEST_F(passes, from_the_references_add_the_same_whatever_the_threads) {
    start(stored).impute_study_from_reference();
    const std::vector<double> alone = genotype_sums(run);
    const std::string words = said();
    const double next = draws.next();
    run.workers.start(3);
    const seeded_draws again(7);
    start(stored).impute_study_from_reference();
    EXPECT_EQ(words, said());
    EXPECT_EQ(next, draws.next());
    EXPECT_EQ(alone, genotype_sums(run));
}

TEST_F(passes, from_the_references_go_by_the_alleles_that_the_study_had) {
    run.panels[0].needs_update = run.panels[1].needs_update = false;
    run.params.phase = true;
    start(stored).impute_study_from_reference();
    made->finish_imputation();
    const std::vector<double> before = genotype_sums(run);
    run.workers.start(2);
    const seeded_draws again(7);
    start(stored).impute_study_from_reference();
    for (std::size_t h = 0; h < 6; ++h) {  // as phasing does
        for (std::size_t s = 2; s < n_sites; s += 3) run.panels[2].haps.set(h, s, 1 - run.panels[2].haps.allele(h, s));
    }
    made->finish_imputation();
    EXPECT_EQ(before, genotype_sums(run));
}

// --- what is known --------------------------------------------------------------------------------------------------

TEST_F(passes, record_what_is_known_of_those_that_need_no_update) {
    run.params.pgs = true;
    run.panels[2].update = {false, false, false};
    for (std::size_t s = 2; s < n_sites; s += 3) {
        for (const std::size_t h : {4U, 5U}) run.panels[2].haps.set(h, s, 1);
    }
    start(burnin).record_known_study();
    EXPECT_EQ(0.0, run.acc.gtype_acc[1].get(2, 2)) << "the iteration does not count";
    start(stored).record_known_study();
    for (std::size_t s = 2; s < n_sites; s += 3) {
        EXPECT_EQ(1.0, run.acc.gtype_acc[1].get(2, s));
        EXPECT_EQ(0.0, run.acc.gtype_acc[0].get(1, s) + run.acc.gtype_acc[1].get(1, s)) << "a missing genotype";
    }
    start(stored).update_study_individuals();
    EXPECT_EQ("\r-updating inf indiv [1/3]\r-updating inf indiv [2/3]\r-updating inf indiv [3/3]\n", said());
    EXPECT_EQ(1.0, run.acc.gtype_acc[1].get(2, 2));
}

// --- the final pass -------------------------------------------------------------------------------------------------

// Individuals 0 and 2 with heterozygotes at the typed sites 2, 5, ..., and sums that tell their phase; 1 has none.
class final_pass : public passes {
  protected:
    void SetUp() override {
        passes::SetUp();
        run.params.phase = true;
        run.params.local_states = 100;
        run.models.k_final = 5;
        for (std::size_t s = 2; s < n_sites; s += 3) {
            run.sites.in_order[s]->gtypes[2] = {1, 0, 1};
            for (const std::size_t i : {0U, 2U}) {
                const int first = source.integer(0, 1);
                run.panels[2].haps.set(2 * i, s, first);
                run.panels[2].haps.set(2 * i + 1, s, 1 - first);
            }
        }
        begin();
    }
    void begin() {
        made_passes = &start({.late = true, .stored = true});
        for (const std::size_t i : {0U, 2U}) {
            phase_sums& sums = run.acc.phase[i];
            for (std::size_t s = 2; s < n_sites; s += 3) sums.site.push_back(s);
            sums.with_previous.assign(sums.site.size(), 4.0);  // all alleles 1 on one haplotype
            sums.with_second.assign(sums.site.size(), 4.0);
            sums.n_paths = 4;
        }
    }
    update_passes* made_passes = nullptr;
};

TEST_F(final_pass, starts_from_the_phase_that_the_sums_tell) {
    const packed_haplotypes before = run.panels[2].haps;
    made_passes->phase_once_more();
    for (std::size_t s = 2; s < n_sites; s += 3) {
        for (const std::size_t i : {0U, 2U}) {
            EXPECT_EQ(1, run.panels[2].haps.allele(2 * i, s)) << "site " << s;
            EXPECT_EQ(0, run.panels[2].haps.allele(2 * i + 1, s));
        }
        for (const std::size_t h : {2U, 3U}) EXPECT_EQ(before.allele(h, s), run.panels[2].haps.allele(h, s));
    }
}

TEST_F(final_pass, turns_what_stands_between_two_heterozygotes_with_the_left_one) {
    packed_haplotypes& haps = run.panels[2].haps;
    phase_sums& sums = run.acc.phase[0];
    sums.site.erase(sums.site.begin() + 1);  // site 5 has a missing genotype, say
    haps.set(0, 2, 0);
    haps.set(1, 2, 1);
    haps.set(0, 5, 0);
    haps.set(1, 5, 1);
    made_passes->phase_once_more();
    EXPECT_EQ(1, haps.allele(0, 5));
    EXPECT_EQ(0, haps.allele(1, 5));
}

TEST_F(final_pass, replaces_the_sums_by_those_of_paths_over_the_states_that_were_asked_for) {
    const double total_before = 4.0 * static_cast<double>(run.acc.phase[0].site.size());
    made_passes->phase_once_more();
    EXPECT_EQ(5, run.models.k_states[1][2][2]);
    EXPECT_EQ(1, run.acc.final_rounds);
    for (const std::size_t i : {0U, 2U}) {
        const phase_sums& sums = run.acc.phase[i];
        EXPECT_EQ(8U, sums.site.size());
        EXPECT_EQ(32U, sums.n_paths);
        double total = 0.0;
        for (const double x : sums.with_previous) {
            EXPECT_LE(std::abs(x), 32.0);
            total += x;
        }
        EXPECT_NE(total_before, total);
    }
    EXPECT_TRUE(run.acc.phase[1].site.empty());
}

TEST_F(final_pass, adds_the_sums_of_its_rounds_and_draws_the_phase_of_all_but_the_first) {
    run.params.final_rounds = 3;
    hmm_model& model = run.models.chains[1][2][2];
    model.dip_gap.assign(model.n_sites(), make_diploid_gap(50.0, 2));  // too far for a phase to be known
    made_passes->phase_once_more();
    std::size_t n_turned = 0;
    for (const std::size_t i : {0U, 2U}) {
        EXPECT_EQ(96U, run.acc.phase[i].n_paths);
        EXPECT_EQ(8U, run.acc.phase[i].site.size());
        for (std::size_t s = 2; s < n_sites; s += 3) {
            EXPECT_EQ(1, run.panels[2].haps.allele(2 * i, s) + run.panels[2].haps.allele(2 * i + 1, s));
            n_turned += run.panels[2].haps.allele(2 * i, s) == 0 ? 1 : 0;
        }
    }
    EXPECT_LT(0U, n_turned) << "all as the iterations had it";
    EXPECT_TRUE(run.acc.phase[1].site.empty());
    EXPECT_NE(std::string::npos, capture.summary().find("; 3 rounds, "));
}

TEST_F(final_pass, gives_the_same_beside_other_threads) {
    run.params.final_rounds = 2;
    const packed_haplotypes haps = run.panels[2].haps;
    {
        const seeded_draws same(3);
        made_passes->phase_once_more();
    }
    const std::vector<phase_sums> alone = run.acc.phase;
    run.panels[2].haps = haps;
    run.workers.start(3);
    begin();
    const seeded_draws same(3);
    made_passes->phase_once_more();
    for (const std::size_t i : {0U, 2U}) {
        EXPECT_EQ(alone[i].with_previous, run.acc.phase[i].with_previous);
        EXPECT_EQ(alone[i].with_second, run.acc.phase[i].with_second);
    }
}

TEST_F(final_pass, says_whom_it_has_in_hand) {
    made_passes->phase_once_more();
    EXPECT_NE(std::string::npos,
              said().find("\r-updating indiv [1/3]\r-updating indiv [2/3]\r-updating indiv [3/3]\n"));
}

TEST_F(final_pass, is_left_out_where_there_is_nobody_to_phase_or_to_copy) {
    const std::vector<phase_sums> before = run.acc.phase;
    run.models.k_final = 0;
    made_passes->phase_once_more();
    EXPECT_EQ(0, run.acc.final_rounds);
    EXPECT_EQ(before[0].with_previous, run.acc.phase[0].with_previous);
    run.models.k_final = 5;
    for (phase_sums& sums : run.acc.phase) sums = {};
    made_passes->phase_once_more();
    EXPECT_EQ(0, run.acc.final_rounds);
    EXPECT_EQ(2, run.models.k_states[1][2][2]);
}

// --- holes ----------------------------------------------------------------------------------------------------------

TEST_F(passes, fill_the_holes_of_panel_0_from_panel_1) {
    run.plan.fill_holes = true;
    run.plan.hole_fill_to = 0;
    run.plan.hole_fill_from = 1;
    for (std::size_t s = 1; s < n_sites; s += 3) {
        run.sites.in_order[s]->ref_alleles_missing = true;
        for (std::size_t h = 0; h < 4; ++h) {
            run.panels[0].haps.set(h, s, 0);
            run.panels[1].haps.set(h, s, 1);
        }
    }
    list_sites(run.sites);
    const packed_haplotypes before = run.panels[0].haps;
    start({.late = true}).fill_holes();
    EXPECT_EQ(
        "\r-updating haplotype [1/4] [fill holes]\r-updating haplotype [2/4] [fill holes]"
        "\r-updating haplotype [3/4] [fill holes]\r-updating haplotype [4/4] [fill holes]\n",
        said());
    std::size_t n_filled = 0;
    for (std::size_t h = 0; h < 4; ++h) {
        for (std::size_t s = 0; s < n_sites; ++s) {
            if (s % 3 == 1) {
                n_filled += run.panels[0].haps.allele(h, s) == 1 ? 1U : 0U;
            } else {
                EXPECT_EQ(before.allele(h, s), run.panels[0].haps.allele(h, s)) << "no hole";
            }
        }
    }
    EXPECT_GT(n_filled, 24U) << "of 32, copied with few errors";
}

TEST_F(passes, fill_the_holes_of_panel_1_by_individual) {
    run.plan.fill_holes = true;
    run.plan.hole_fill_to = 1;
    run.plan.hole_fill_from = 2;
    start(burnin).fill_holes();
    EXPECT_EQ(
        "\r-updating ref indiv [1/2] [fill holes] [fill holes]\r-updating ref indiv [2/2] [fill holes] [fill holes]\n",
        said());
}

// --- copy states ----------------------------------------------------------------------------------------------------

TEST_F(passes, keep_the_states_of_individuals_that_are_chosen_by_similarity) {
    run.params.show_diploid_copy_states = true;
    run.panels[2].update = {true, false, true};
    update_passes& pass = start({.late = true});
    pass.update_study_individuals();
    const auto& records = pass.copy_states().by_individual;
    ASSERT_EQ(3U, records.size());
    EXPECT_EQ(2U, records[0].hap.size());
    EXPECT_EQ(2U, records[0].dist_b.size());
    EXPECT_TRUE(records[1].hap.empty());
    EXPECT_EQ(2U, records[2].hap.size());
    EXPECT_TRUE(pass.copy_states().by_haplotype[0].empty());
}

TEST_F(passes, keep_the_states_of_haplotypes_by_the_panel_that_they_copy) {
    run.params.show_haploid_copy_states = true;
    update_passes& pass = start({.late = true, .stored = true});
    pass.impute_study_from_reference();
    for (const auto& records : pass.copy_states().by_haplotype) {
        ASSERT_EQ(6U, records.size());
        for (const copy_state_record& record : records) {
            EXPECT_EQ(2U, record.hap.size());
            EXPECT_TRUE(record.dist_b.empty());
        }
    }
    update_passes& at_random = start(stored);
    at_random.impute_study_from_reference();
    for (const auto& records : at_random.copy_states().by_haplotype) {
        for (const copy_state_record& record : records) EXPECT_TRUE(record.hap.empty());
    }
}

}  // namespace
