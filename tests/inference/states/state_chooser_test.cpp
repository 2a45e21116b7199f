#include "inference/states/state_chooser.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "inference/model_run.h"

namespace {

// Two reference haplotypes are like the first study haplotype, two like the second, the others like none; K is 2.
class choosing : public ::testing::Test, protected model_run {
  protected:
    void SetUp() override {
        for (long s = 0; s < 20; ++s) add_site(100 + s, 2);
        list_sites();
        give_haplotypes({8, 0, 4});
        run.plan.n_panels = 3;
        for (std::size_t s = 0; s < 20; ++s) {
            for (const std::size_t h : {0U, 5U}) run.panels[0].haps.set(h, s, 1);
            run.panels[2].haps.set(0, s, 1);
            for (const std::size_t h : {2U, 7U}) run.panels[0].haps.set(h, s, s % 2 == 0);
            run.panels[2].haps.set(1, s, s % 2 == 0);
        }
        for (const std::size_t h : {1U, 3U, 4U, 6U}) {
            for (std::size_t s = 0; s < 20; ++s) run.panels[0].haps.set(h, s, s % 4 < 2);
        }
        for (std::size_t mode = 0; mode < 2; ++mode) {
            for (std::size_t p = 0; p < 3; ++p) {
                for (std::size_t c = 0; c < 3; ++c) set_states(mode, p, c, 2);
            }
        }
    }
    using haps = std::vector<std::int32_t>;
    const seeded_draws draws{1};
    conditioning_states states;
    copy_state_record record;
};

TEST_F(choosing, is_by_similarity_from_an_iteration_on) {
    const inference_inputs in = run.inputs();
    state_chooser chooser(in, {});
    chooser.start_iteration(false);
    chooser.for_individual(2, 0, states, &record);
    EXPECT_EQ(2U, states.size());
    chooser.shared(2, 0, 0, states, &record);
    EXPECT_EQ(2U, states.size());
    EXPECT_TRUE(record.panel.empty()) << "at random";
    chooser.start_iteration(true);
    chooser.for_haplotype(2, 0, 0, states, &record);
    EXPECT_EQ((haps{0, 5}), states.hap);
    EXPECT_EQ((std::vector<int>{0, 0}), record.dist_a);
    chooser.for_haplotype(2, 0, 1, states, &record);
    EXPECT_EQ((haps{2, 7}), states.hap);
    EXPECT_EQ(4U, record.hap.size());
}

TEST_F(choosing, before_it_leaves_what_the_haplotypes_share) {
    const inference_inputs in = run.inputs();
    state_chooser chooser(in, {});
    chooser.shared(2, 0, 0, states, nullptr);
    const haps shared = states.hap;
    chooser.for_haplotype(2, 0, 0, states, nullptr);
    EXPECT_EQ(shared, states.hap);
}

TEST_F(choosing, gives_each_haplotype_its_own_states_unless_they_are_to_share) {
    const inference_inputs in = run.inputs();
    state_chooser chooser(in, {});
    chooser.start_iteration(true);
    states.add(0, 3);
    chooser.shared(2, 0, 0, states, nullptr);
    EXPECT_EQ((haps{3}), states.hap) << "nothing is shared";
    run.params.choose_haploid_family = false;
    set_states(0, 2, 0, 4);
    chooser.shared(2, 0, 0, states, &record);
    EXPECT_EQ((haps{0, 2, 5, 7}), states.hap) << "near either haplotype";
    EXPECT_EQ(4U, record.dist_b.size());
    chooser.for_haplotype(2, 0, 1, states, nullptr);
    EXPECT_EQ((haps{0, 2, 5, 7}), states.hap);
}

TEST_F(choosing, looks_at_one_haplotype_of_a_haploid_individual) {
    run.panels[2].all_haploid = true;
    run.params.choose_haploid_family = false;
    const inference_inputs in = run.inputs();
    state_chooser chooser(in, {});
    chooser.start_iteration(true);
    chooser.shared(2, 0, 1, states, &record);
    EXPECT_EQ((haps{2, 7}), states.hap);
    EXPECT_TRUE(record.dist_b.empty());
    set_states(0, 2, 2, 3);
    chooser.for_individual(2, 1, states, nullptr);
    EXPECT_EQ(3U, states.size());
    for (const std::int32_t near : {2, 7}) EXPECT_EQ(1, std::count(states.hap.begin(), states.hap.end(), near));
}

TEST_F(choosing, follows_the_matrix_of_haplotypes) {
    run.params.distances_by_hap_file = "matrix";
    distance_matrix matrix(12, std::vector<double>(12, 5.0));
    matrix[8][3] = matrix[8][4] = 1.0;  // the first study haplotype
    matrix[9][6] = matrix[9][1] = 1.0;  // the second one
    matrix[2][0] = matrix[2][7] = 0.5;  // a haplotype of Panel 0
    matrix[2][10] = matrix[2][11] = 0.25;
    const inference_inputs in = run.inputs();
    state_chooser chooser(in, matrix);
    chooser.start_iteration(true);
    chooser.for_haplotype(2, 0, 1, states, &record);
    EXPECT_EQ((haps{1, 6}), states.hap);
    chooser.for_panel0_haplotype(2, states);
    EXPECT_EQ((haps{0, 7}), states.hap);
    chooser.for_filling(0, 2, 2, hole_alleles::not_known, states);
    EXPECT_EQ((haps{2, 3}), states.hap);
    EXPECT_EQ((std::vector<std::size_t>{2, 2}), states.panel);
    EXPECT_TRUE(record.panel.empty()) << "no distance was counted";
    set_states(1, 2, 2, 4);
    chooser.for_individual(2, 0, states, &record);
    EXPECT_EQ((haps{1, 3, 4, 6}), states.hap);
    run.params.choose_haploid_family = false;
    chooser.shared(2, 0, 0, states, &record);
    EXPECT_EQ(2U, record.panel.size()) << "states that are shared come by similarity";
}

TEST_F(choosing, follows_the_matrix_of_individuals_for_both_haplotypes) {
    run.params.distances_file = "matrix";
    distance_matrix matrix(10, std::vector<double>(10, 5.0));
    matrix[8][3] = matrix[8][4] = 1.0;
    const inference_inputs in = run.inputs();
    state_chooser chooser(in, matrix);
    chooser.start_iteration(true);
    chooser.shared(2, 0, 0, states, nullptr);
    EXPECT_EQ((haps{3, 4}), states.hap);
    chooser.for_haplotype(2, 0, 1, states, nullptr);
    EXPECT_EQ((haps{3, 4}), states.hap);
    chooser.for_individual(2, 0, states, nullptr);
    EXPECT_EQ((haps{3, 4}), states.hap);
    chooser.for_panel0_haplotype(5, states);
    EXPECT_EQ((haps{0}), haps(states.hap.begin(), states.hap.begin() + 1)) << "by similarity";
}

TEST_F(choosing, of_a_panel_0_haplotype_leaves_it_out) {
    const inference_inputs in = run.inputs();
    state_chooser chooser(in, {});
    set_states(0, 0, 0, 1);
    chooser.start_iteration(true);
    chooser.for_panel0_haplotype(0, states);
    EXPECT_EQ((haps{5}), states.hap);
    set_states(0, 0, 0, 7);
    chooser.start_iteration(false);
    chooser.for_panel0_haplotype(0, states);
    EXPECT_EQ((haps{1, 2, 3, 4, 5, 6, 7}), states.hap);
}

TEST_F(choosing, of_a_haplotype_to_be_filled_takes_another_panel_alone) {
    const inference_inputs in = run.inputs();
    state_chooser chooser(in, {});
    chooser.for_filling(0, 2, 3, hole_alleles::known, states);
    EXPECT_EQ((std::vector<std::size_t>{2, 2}), states.panel);
    chooser.start_iteration(true);
    set_states(0, 0, 2, 1);
    chooser.for_filling(0, 2, 5, hole_alleles::known, states);
    EXPECT_EQ((haps{0}), states.hap);
    EXPECT_EQ((std::vector<std::size_t>{2}), states.panel);
}

TEST_F(choosing, local_states_leave_the_study_out_of_the_first_iteration) {
    run.params.local_states = 100;
    for (std::size_t s = 0; s < 20; ++s) run.panels[2].haps.set(3, s, 1);  // of the other individual
    for (const std::size_t h : {0U, 5U}) run.panels[0].haps.set(h, 10, 0);
    set_states(1, 2, 2, 3);
    const inference_inputs in = run.inputs();
    state_chooser chooser(in, {});
    chooser.start_iteration(true, true);
    chooser.for_individual(2, 0, states, nullptr);
    EXPECT_EQ((std::vector<std::size_t>{0, 0, 0}), states.panel);
    chooser.start_iteration(true);
    chooser.for_individual(2, 0, states, nullptr);
    ASSERT_EQ(3U, states.size());
    EXPECT_EQ(2U, states.panel.back());
    EXPECT_EQ(3, states.hap.back()) << "like the first haplotype";
    set_states(1, 2, 2, 9);
    chooser.start_iteration(true, true);
    chooser.for_individual(2, 0, states, nullptr);
    EXPECT_EQ(9U, states.size()) << "the reference is too small";
}

TEST_F(choosing, local_states_share_with_the_nearest_and_are_recorded) {
    run.params.local_states = 50;
    set_states(1, 2, 2, 4);
    const inference_inputs in = run.inputs();
    state_chooser chooser(in, {});
    chooser.start_iteration(true);
    chooser.for_individual(2, 0, states, &record);
    EXPECT_EQ((haps{0, 2, 5, 7}), states.hap);
    EXPECT_EQ((std::vector<std::size_t>{0, 2, 5, 7}), record.hap);
    EXPECT_EQ((std::vector<int>{0, 10, 0, 10}), record.dist_a);
    run.params.local_states = 100;
    record = {};
    chooser.for_individual(2, 0, states, &record);
    EXPECT_EQ(4U, record.dist_b.size());
}

}  // namespace
