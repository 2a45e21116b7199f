#include "chromosome/phase_votes.h"

#include <gtest/gtest.h>

namespace {

constexpr phased_pair zero_one{0, 1, true};
constexpr phased_pair one_zero{1, 0, true};

std::vector<phased_pair> of(std::initializer_list<phased_pair> pairs) {
    return pairs;
}

TEST(phase_votes, the_majority_of_heterozygotes_decides_for_each_person) {
    phase_votes votes(2);
    votes.add(of({zero_one, zero_one}), of({one_zero, zero_one}), false);
    votes.add(of({one_zero, zero_one}), of({zero_one, zero_one}), false);
    votes.add(of({zero_one, zero_one}), of({zero_one, one_zero}), false);
    EXPECT_TRUE(votes.is_turned(0));
    EXPECT_FALSE(votes.is_turned(1));
    EXPECT_EQ(votes.n_counted(), 6u);
    EXPECT_EQ(votes.n_agreeing(), 4u);
}

TEST(phase_votes, those_next_to_the_middle_decide) {
    phase_votes votes(1);
    for (int i = 0; i < 20; ++i) votes.add(of({zero_one}), of({zero_one}), false);
    for (int i = 0; i < 3; ++i) votes.add(of({zero_one}), of({one_zero}), false);
    for (int i = 0; i < 4; ++i) votes.add(of({zero_one}), of({one_zero}), true);
    EXPECT_TRUE(votes.is_turned(0));  // 7 of the 9 that decide
    EXPECT_EQ(votes.n_counted(), 27u);
    EXPECT_EQ(votes.n_agreeing(), 7u);
}

TEST(phase_votes, without_a_majority_next_to_the_middle_all_decide) {
    phase_votes votes(1);
    for (int i = 0; i < 9; ++i) votes.add(of({zero_one}), of({one_zero}), false);
    for (int i = 0; i < 5; ++i) votes.add(of({zero_one}), of({zero_one}), true);
    EXPECT_TRUE(votes.is_turned(0));
    EXPECT_FALSE(votes.is_undecided(0));
}

TEST(phase_votes, a_tie_turns_nobody_and_is_undecided) {
    phase_votes votes(1);
    EXPECT_TRUE(votes.is_undecided(0));
    votes.add(of({zero_one}), of({zero_one}), false);
    EXPECT_FALSE(votes.is_undecided(0));
    votes.add(of({zero_one}), of({one_zero}), false);
    EXPECT_TRUE(votes.is_undecided(0));
    EXPECT_FALSE(votes.is_turned(0));
}

TEST(phase_votes, counts_only_heterozygotes_that_both_have_phased) {
    phase_votes votes(1);
    votes.add(of({zero_one}), of({{1, 0, false}}), false);
    votes.add(of({{0, 1, false}}), of({one_zero}), false);
    votes.add(of({{1, 1, true}}), of({one_zero}), false);
    votes.add(of({{-1, 1, true}}), of({one_zero}), false);
    votes.add(of({zero_one}), of({{0, 2, true}}), false);
    EXPECT_EQ(votes.n_counted(), 0u);
}

}  // namespace
