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
    votes.add(of({zero_one, zero_one}), of({one_zero, zero_one}));
    votes.add(of({one_zero, zero_one}), of({zero_one, zero_one}));
    votes.add(of({zero_one, zero_one}), of({zero_one, one_zero}));
    EXPECT_TRUE(votes.is_turned(0));
    EXPECT_FALSE(votes.is_turned(1));
    EXPECT_EQ(votes.n_counted(), 6u);
    EXPECT_EQ(votes.n_agreeing(), 4u);
}

TEST(phase_votes, a_tie_turns_nobody_and_is_undecided) {
    phase_votes votes(1);
    EXPECT_TRUE(votes.is_undecided(0));
    votes.add(of({zero_one}), of({zero_one}));
    EXPECT_FALSE(votes.is_undecided(0));
    votes.add(of({zero_one}), of({one_zero}));
    EXPECT_TRUE(votes.is_undecided(0));
    EXPECT_FALSE(votes.is_turned(0));
}

TEST(phase_votes, counts_only_heterozygotes_that_both_have_phased) {
    phase_votes votes(1);
    votes.add(of({zero_one}), of({{1, 0, false}}));
    votes.add(of({{0, 1, false}}), of({one_zero}));
    votes.add(of({{1, 1, true}}), of({one_zero}));
    votes.add(of({{-1, 1, true}}), of({one_zero}));
    votes.add(of({zero_one}), of({{0, 2, true}}));
    EXPECT_EQ(votes.n_counted(), 0u);
}

}  // namespace
