#include "chromosome/overlap_phase.h"

#include <gtest/gtest.h>

#include <string>

namespace {

constexpr phased_pair zero_one{0, 1, true};
constexpr phased_pair one_zero{1, 0, true};

std::vector<phased_pair> of(std::initializer_list<phased_pair> pairs) {
    return pairs;
}

TEST(overlap_phase, the_majority_of_heterozygotes_decides_for_each_person) {
    overlap_phase votes(2);
    votes.add(of({zero_one, zero_one}), of({one_zero, zero_one}), false);
    votes.add(of({one_zero, zero_one}), of({zero_one, zero_one}), false);
    votes.add(of({zero_one, zero_one}), of({zero_one, one_zero}), false);
    votes.settle();
    EXPECT_TRUE(votes.is_turned(0));
    EXPECT_FALSE(votes.is_turned(1));
    EXPECT_EQ(votes.n_counted(), 6u);
    EXPECT_EQ(votes.n_agreeing(), 4u);
}

TEST(overlap_phase, those_next_to_the_middle_decide) {
    overlap_phase votes(1);
    for (int i = 0; i < 20; ++i) votes.add(of({zero_one}), of({zero_one}), false);
    for (int i = 0; i < 3; ++i) votes.add(of({zero_one}), of({one_zero}), false);
    for (int i = 0; i < 4; ++i) votes.add(of({zero_one}), of({one_zero}), true);
    votes.settle();
    EXPECT_TRUE(votes.is_turned(0));  // 7 of the 9 that decide
    EXPECT_EQ(votes.n_counted(), 27u);
    EXPECT_EQ(votes.n_agreeing(), 7u);
}

TEST(overlap_phase, without_a_majority_next_to_the_middle_all_decide) {
    overlap_phase votes(1);
    for (int i = 0; i < 9; ++i) votes.add(of({zero_one}), of({one_zero}), false);
    for (int i = 0; i < 5; ++i) votes.add(of({zero_one}), of({zero_one}), true);
    votes.settle();
    EXPECT_TRUE(votes.is_turned(0));
    EXPECT_FALSE(votes.is_undecided(0));
}

TEST(overlap_phase, a_tie_turns_nobody_and_is_undecided) {
    overlap_phase votes(1);
    EXPECT_TRUE(votes.is_undecided(0));
    votes.add(of({zero_one}), of({zero_one}), false);
    votes.add(of({zero_one}), of({one_zero}), false);
    votes.settle();
    EXPECT_TRUE(votes.is_undecided(0));
    EXPECT_FALSE(votes.is_turned(0));
}

TEST(overlap_phase, counts_only_heterozygotes_that_both_have_phased) {
    overlap_phase votes(1);
    votes.add(of({zero_one}), of({{1, 0, false}}), false);
    votes.add(of({{0, 1, false}}), of({one_zero}), false);
    votes.add(of({{1, 1, true}}), of({one_zero}), false);
    votes.add(of({{-1, 1, true}}), of({one_zero}), false);
    votes.add(of({zero_one}), of({{0, 2, true}}), false);
    votes.settle();
    EXPECT_EQ(votes.n_counted(), 0u);
}

// A person's heterozygotes in order: whether the later chunk has it the other way round, and both confidences.
struct told {
    bool differs;
    int before, after;
};

overlap_phase settled(const std::vector<told>& heterozygotes, std::size_t n_up_to_middle) {
    overlap_phase phase(1);
    for (std::size_t i = 0; i < heterozygotes.size(); ++i) {
        const told& h = heterozygotes[i];
        phased_pair before = zero_one, after = h.differs ? one_zero : zero_one;
        before.confidence = h.before;
        after.confidence = h.after;
        phase.add(of({before}), of({after}), i >= n_up_to_middle);
    }
    phase.settle();
    return phase;
}

// By site: '-' where the record stands as it is, 't' where its haplotypes are exchanged.
std::string turns_before(const overlap_phase& phase, std::size_t n) {
    std::string text;
    for (std::size_t i = 0; i < n; ++i) text += phase.turned_before(i)[0] ? 't' : '-';
    return text;
}

std::string turns_after(const overlap_phase& phase, std::size_t n) {
    std::string text;
    for (std::size_t i = 0; i < n; ++i) text += phase.turned_after(i)[0] ? 't' : '-';
    return text;
}

TEST(overlap_phase, where_chunks_differ_the_more_confident_one_is_followed) {
    // The earlier chunk has a switch at the second, with less confidence; the later one at the fourth.
    const overlap_phase phase = settled({{false, 99, 99}, {true, 10, 30}, {true, 50, 50}, {false, 40, 4}}, 2);
    EXPECT_EQ(turns_before(phase, 4), "-ttt");
    EXPECT_EQ(turns_after(phase, 4), "---t");
    EXPECT_TRUE(phase.is_turned(0));
    EXPECT_EQ(phase.confidences(0)[0], -1);
    EXPECT_EQ(phase.confidences(1)[0], 20);
    EXPECT_EQ(phase.confidences(2)[0], -1);
    EXPECT_EQ(phase.confidences(3)[0], 36);
    EXPECT_EQ(phase.n_agreeing(), 2u);
}

TEST(overlap_phase, of_equal_confidences_that_of_the_nearer_chunk_counts) {
    EXPECT_EQ(turns_before(settled({{false, 9, 9}, {true, 9, 9}, {true, 9, 9}}, 2), 3), "---");
    EXPECT_EQ(turns_before(settled({{false, 9, 9}, {true, 9, 9}, {true, 9, 9}}, 1), 3), "-tt");
}

TEST(overlap_phase, a_person_with_a_heterozygote_of_unknown_confidence_follows_the_middle) {
    const overlap_phase phase = settled({{true, 9, 9}, {true, 9, 9}, {false, 9, 50}, {true, 9, 9}, {true, 9, -1}}, 2);
    EXPECT_EQ(turns_before(phase, 5), "-----");
    EXPECT_EQ(turns_after(phase, 5), "ttttt");
    EXPECT_EQ(phase.confidences(2)[0], -1);
    EXPECT_EQ(phase.n_agreeing(), 4u);
}

TEST(overlap_phase, the_first_confidence_is_not_needed_and_sites_without_heterozygotes_follow_the_one_before) {
    overlap_phase phase(1);
    phased_pair sure = one_zero;
    sure.confidence = 40;
    phased_pair unsure = zero_one;
    unsure.confidence = 3;
    const phased_pair none{0, 0, true};
    phase.add(of({none}), of({none}), false);
    phase.add(of({zero_one}), of({zero_one}), false);
    phase.add(of({none}), of({none}), false);
    phase.add(of({unsure}), of({sure}), true);
    phase.add(of({none}), of({none}), true);
    phase.settle();
    EXPECT_EQ(turns_before(phase, 5), "---tt");
    EXPECT_EQ(turns_after(phase, 5), "-----");
}

}  // namespace
