#include "inference/states/state_selection.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "inference/inference_tools.h"
#include "random/random.h"
#include "support/scripted_draws.h"

namespace {

// The choice as the rule reads: a full sort, the ties around the K-th place, marks for the tied candidates.
template <typename Figure>
std::vector<std::uint8_t> plain_selection(const std::vector<Figure>& figures, std::size_t K) {
    std::vector<Figure> sorted = figures;
    std::sort(sorted.begin(), sorted.end());
    const Figure T = sorted[K - 1];
    int A = 0, B = 0;
    for (std::size_t i = K; i < sorted.size() && sorted[i] == T; ++i) ++A;
    if (A >= 1 && K >= 2) {
        for (std::size_t i = K - 1; i-- > 0 && sorted[i] == T;) ++B;
    }
    std::vector<std::uint8_t> mark(static_cast<std::size_t>(A + B + 1), 0);
    const bool draw = A + B + 1 != 1;
    if (draw) {
        std::vector<int> drawn(static_cast<std::size_t>(B + 1));
        RandomPermutation2::Next(A + B + 1, B + 1, drawn.data(), 0, -1, -1);
        for (const int m : drawn) mark[static_cast<std::size_t>(m)] = 1;
    }
    std::vector<std::uint8_t> keep;
    std::size_t next_mark = 0;
    for (const Figure figure : figures) {
        keep.push_back(figure < T || (figure == T && (!draw || mark[next_mark++] == 1)) ? 1 : 0);
    }
    return keep;
}

std::string kept_by(const std::vector<int>& figures, std::size_t K) {
    std::vector<std::uint8_t> keep;
    select_nearest(figures, K, keep);
    std::string text;
    for (const bool k : keep) text += k ? 'x' : '.';
    return text;
}

TEST(state_selection, without_ties_takes_no_draw) {
    listed_draws draws;
    EXPECT_EQ("x..x.", kept_by({1, 7, 9, 0, 3}, 2));
    EXPECT_EQ("...x.", kept_by({1, 7, 9, 0, 3}, 1));
    EXPECT_EQ("xxxxx", kept_by({1, 7, 9, 0, 3}, 5));
}

TEST(state_selection, ties_that_all_fit_take_no_draw) {
    listed_draws draws;
    EXPECT_EQ("xxx..", kept_by({2, 2, 0, 3, 4}, 3));
    EXPECT_EQ("xx..", kept_by({0, 0, 5, 5}, 2));
    EXPECT_EQ("xxxx", kept_by({6, 6, 6, 6}, 4));
    EXPECT_EQ("x", kept_by({6}, 1));
}

TEST(state_selection, ties_at_the_last_place_take_a_draw_for_each_one_kept) {
    {
        listed_draws draws({0.99});  // the last of three tied ones
        EXPECT_EQ("x..x.", kept_by({0, 4, 4, 4, 9}, 2));
        EXPECT_EQ(1U, draws.n_taken());
    }
    {
        listed_draws draws(
            {0.5, 0.0});  // the middle one; then the first place, of which the middle one has taken the value
        EXPECT_EQ("xxx..", kept_by({0, 4, 4, 4, 9}, 3));
        EXPECT_EQ(2U, draws.n_taken());
    }
}

TEST(state_selection, of_one_state_takes_one_draw_among_the_tied) {
    for (int i = 0; i < 4; ++i) {
        listed_draws draws({(i + 0.5) / 4});
        std::string expected = "9....";
        expected[0] = '.';
        expected[static_cast<std::size_t>(i) + 1] = 'x';
        EXPECT_EQ(expected, kept_by({8, 3, 3, 3, 3}, 1));
        EXPECT_EQ(1U, draws.n_taken());
    }
}

TEST(state_selection, of_candidates_that_are_all_equal_is_one_shuffle) {
    std::vector<std::uint8_t> keep;
    std::vector<int> drawn(3);
    {
        seeded_draws draws(5);
        select_nearest(std::vector<int>(7, 2), 3, keep);
    }
    {
        seeded_draws draws(5);
        RandomPermutation2::Next(7, 3, drawn.data(), 0, -1, -1);
    }
    for (int i = 0; i < 7; ++i) {
        EXPECT_EQ(std::count(drawn.begin(), drawn.end(), i) == 1, keep[static_cast<std::size_t>(i)]);
    }
}

TEST(state_selection, replaces_what_stood_in_the_list) {
    listed_draws draws;
    std::vector<std::uint8_t> keep(20, 1);
    select_nearest(std::vector<int>{3, 1, 2}, 1, keep);
    EXPECT_EQ((std::vector<std::uint8_t>{0, 1, 0}), keep);
}

TEST(state_selection, agrees_with_a_full_sort) {
    input_source source(3);
    for (int repeat = 0; repeat < 500; ++repeat) {
        const auto n = static_cast<std::size_t>(source.integer(1, 60));
        const auto K = static_cast<std::size_t>(source.integer(1, static_cast<int>(n)));
        const int largest = source.integer(0, 20);
        std::vector<int> figures;
        for (std::size_t i = 0; i < n; ++i) figures.push_back(source.integer(0, largest));
        const std::vector<double> doubles(figures.begin(), figures.end());
        std::vector<std::uint8_t> expected, expected_doubles, keep;
        double next = 0.0;
        {
            seeded_draws draws(repeat);
            expected = plain_selection(figures, K);
            next = draws.next();
        }
        {
            seeded_draws draws(repeat);
            select_nearest(figures, K, keep);
            EXPECT_EQ(next, draws.next());
            EXPECT_EQ(expected, keep);
        }
        {
            seeded_draws draws(repeat);
            select_nearest(doubles, K, keep);
            EXPECT_EQ(next, draws.next());
            EXPECT_EQ(expected, keep);
        }
        EXPECT_EQ(K, static_cast<std::size_t>(std::count(keep.begin(), keep.end(), 1)));
    }
}

TEST(state_selection, ranks_doubles_that_differ_little) {
    listed_draws draws;
    std::vector<std::uint8_t> keep;
    select_nearest(std::vector<double>{0.5, 0.25 + 1e-15, 0.25, -1.0}, 2, keep);
    EXPECT_EQ((std::vector<std::uint8_t>{0, 0, 1, 1}), keep);
}

TEST(state_selection, breaks_ties_uniformly) {
    constexpr int n_draws = 6000;
    std::map<std::vector<int>, int> counts;
    std::map<std::vector<int>, double> chances;
    for (int i = 0; i < 5; ++i) {
        for (int j = i + 1; j < 5; ++j) chances[{i, j}] = 0.1;
    }
    seeded_draws draws(8);
    for (int n = 0; n < n_draws; ++n) {
        std::vector<std::uint8_t> keep;
        select_nearest(std::vector<int>{6, 6, 1, 6, 6, 6}, 3, keep);
        EXPECT_TRUE(keep[2]);
        keep.erase(keep.begin() + 2);
        std::vector<int> kept;
        for (int i = 0; i < 5; ++i) {
            if (keep[static_cast<std::size_t>(i)]) kept.push_back(i);
        }
        ++counts[kept];
    }
    expect_frequencies(counts, chances, n_draws);
}

}  // namespace
