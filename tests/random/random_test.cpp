#include "random/random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "inference/inference_tools.h"
#include "support/scripted_draws.h"

namespace {

// The published generator, word by word (Matsumoto and Nishimura 1998).
class published_generator {
  public:
    explicit published_generator(std::uint32_t first_word) {
        words_[0] = first_word;
        for (std::uint32_t k = 1; k < 624; ++k) {
            words_[k] = 1812433253U * (words_[k - 1] ^ (words_[k - 1] >> 30)) + k;
        }
    }
    std::uint32_t next() {
        if (place_ == 624) {
            for (std::size_t k = 0; k < 624; ++k) {
                const std::uint32_t y = (words_[k] & 0x80000000U) + (words_[(k + 1) % 624] & 0x7fffffffU);
                words_[k] = words_[(k + 397) % 624] ^ (y >> 1) ^ (y % 2 == 0 ? 0U : 0x9908b0dfU);
            }
            place_ = 0;
        }
        std::uint32_t y = words_[place_++];
        y ^= y >> 11;
        y ^= (y << 7) & 0x9d2c5680U;
        y ^= (y << 15) & 0xefc60000U;
        return y ^ (y >> 18);
    }

  private:
    std::array<std::uint32_t, 624> words_{};
    std::size_t place_ = 624;
};

double seed_of(std::uint32_t first_word) {
    return static_cast<double>(first_word) / 4294967296.0;
}

TEST(generator, gives_the_published_outputs) {
    const MT generator(seed_of(5489));
    EXPECT_EQ(3499211612U, MT::genrand_int32());
    EXPECT_EQ(581869302U, MT::genrand_int32());
    EXPECT_EQ(3890346734U, MT::genrand_int32());
    for (int i = 4; i < 10000; ++i) MT::genrand_int32();
    EXPECT_EQ(4123659995U, MT::genrand_int32()) << "the 10000th";
}

TEST(generator, takes_any_first_word) {
    for (const std::uint32_t first : {0U, 1U, 123456789U, 0x7fffffffU, 0x80000000U, 0xffffffffU}) {
        const MT generator(seed_of(first));
        published_generator expected(first);
        for (int i = 0; i < 2000; ++i)
            ASSERT_EQ(expected.next(), MT::genrand_int32()) << "seed " << first << " output " << i;
    }
}

TEST(generator, cuts_the_seed_to_a_word) {
    const std::array<std::pair<double, std::uint32_t>, 6> seeds{{{0.0, 0U},
                                                                 {0.25, 0x40000000U},
                                                                 {0.999999999, 4294967291U},
                                                                 {1e-10, 0U},
                                                                 {2.4e-10, 1U},
                                                                 {0.5000000001, 0x80000000U}}};
    for (const auto& [seed, first] : seeds) {
        const MT generator(seed);
        published_generator expected(first);
        for (int i = 0; i < 10; ++i) EXPECT_EQ(expected.next(), MT::genrand_int32()) << "seed " << seed;
    }
}

TEST(generator, draws_the_middle_of_a_step) {
    MT generator(seed_of(5489));
    EXPECT_EQ((3499211612.0 + 0.5) * 2.3283064365386963e-10, generator.Next());
    EXPECT_EQ((581869302.0 + 0.5) * 2.3283064365386963e-10, generator.Next());
    for (int i = 0; i < 20000; ++i) {
        const double u = generator.Next();
        ASSERT_GT(u, 0.0);
        ASSERT_LT(u, 1.0);
    }
}

TEST(generator, shares_its_state_among_all_objects) {
    MT first(seed_of(7));
    MT second;
    published_generator expected(7);
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ((expected.next() + 0.5) * 2.3283064365386963e-10, first.Next());
        EXPECT_EQ((expected.next() + 0.5) * 2.3283064365386963e-10, second.Next());
    }
}

TEST(generator, repeats_itself_for_a_seed) {
    std::vector<double> once, again;
    for (auto* draws : {&once, &again}) {
        MT generator(seed_of(42));
        for (int i = 0; i < 1000; ++i) draws->push_back(generator.Next());
    }
    EXPECT_EQ(once, again);
}

TEST(own_stream, gives_the_middle_of_the_steps_of_the_published_outputs) {
    SplitMix stream(1234567);
    for (const std::uint64_t output : {6457827717110365317U, 3203168211198807973U, 9817491932198370423U}) {
        EXPECT_EQ((static_cast<double>(output >> 12U) + 0.5) / 4503599627370496.0, stream.Next());
    }
    EXPECT_STREQ("SplitMix", stream.Name());
}

TEST(own_stream, takes_its_seed_from_two_draws_of_the_installed_generator) {
    MT generator(seed_of(11));
    Random* const before = Random::RNG;
    Random::Set(generator);
    const std::uint64_t high = MT::genrand_int32(), low = MT::genrand_int32();
    SplitMix expected(high << 32U | low);
    const double next = generator.Next();
    const MT again(seed_of(11));
    SplitMix found = SplitMix::from_installed();
    EXPECT_EQ(expected.Next(), found.Next());
    EXPECT_EQ(next, generator.Next());
    Random::RNG = before;
}

TEST(installed_source, is_what_everybody_draws_from) {
    listed_draws draws({0.125, 0.25, 0.375});
    Random random;
    Uniform uniform;
    EXPECT_EQ(&draws, Random::RNG);
    EXPECT_EQ(0.125, uniform.Next());
    EXPECT_EQ(0.25, random.Next());
    Random& base = uniform;
    EXPECT_EQ(0.375, base.Next());
    EXPECT_EQ(3U, draws.n_taken());
}

TEST(installed_source, has_a_name) {
    const Random random;
    const Uniform uniform;
    const MT generator;
    EXPECT_STREQ("Random", random.Name());
    EXPECT_STREQ("Uniform", uniform.Name());
    EXPECT_STREQ("MT", generator.Name());
}

// --- samples without replacement ------------------------------------------------------------------------------------

std::vector<int> sample(int N, int M, int start, int immune1, int immune2) {
    std::vector<int> values(static_cast<std::size_t>(M), -99);
    RandomPermutation2::Next(N, M, values.data(), start, immune1, immune2);
    return values;
}

TEST(random_sample, of_nothing_takes_no_draw) {
    listed_draws draws;
    int untouched = 17;
    RandomPermutation2::Next(5, 0, &untouched, 0, -1, -1);
    RandomPermutation2::Next(0, 0, &untouched, 0, -1, -1);
    RandomPermutation2::Next(1, 0, &untouched, 0, 0, -1);
    EXPECT_EQ(17, untouched);
}

TEST(random_sample, swaps_each_drawn_value_with_the_first_free_one) {
    {
        listed_draws draws({0.0, 0.0, 0.0, 0.0});
        EXPECT_EQ((std::vector<int>{0, 1, 2, 3}), sample(4, 4, 0, -1, -1));
    }
    {
        listed_draws draws({0.999, 0.999, 0.999, 0.999});  // 3; then the last place has 0, ...
        EXPECT_EQ((std::vector<int>{3, 0, 1, 2}), sample(4, 4, 0, -1, -1));
    }
    {
        listed_draws draws({0.5, 0.5});  // the third of four; then the second of the three that are left
        EXPECT_EQ((std::vector<int>{2, 0}), sample(4, 2, 0, -1, -1));
        EXPECT_EQ(2U, draws.n_taken());
    }
}

TEST(random_sample, begins_at_its_start) {
    listed_draws draws({0.0, 0.999});
    EXPECT_EQ((std::vector<int>{10, 14}), sample(5, 2, 10, -1, -1));
}

TEST(random_sample, leaves_out_places_counted_from_the_start) {
    {
        listed_draws draws({0.0, 0.0, 0.0});
        EXPECT_EQ((std::vector<int>{100, 102, 104}), sample(5, 3, 100, 1, 3));
    }
    {
        listed_draws draws({0.0, 0.0, 0.0, 0.0});
        EXPECT_EQ((std::vector<int>{101, 102, 103, 104}), sample(5, 4, 100, 0, -1));
    }
    {
        listed_draws draws({0.0, 0.0, 0.0, 0.0});
        EXPECT_EQ((std::vector<int>{100, 101, 102, 103}), sample(5, 4, 100, -1, 4));
    }
}

TEST(random_sample, of_all_free_values_is_a_shuffle) {
    seeded_draws draws(3);
    for (int repeat = 0; repeat < 50; ++repeat) {
        std::vector<int> values = sample(20, 18, 5, 0, 19);
        std::sort(values.begin(), values.end());
        for (int i = 0; i < 18; ++i) EXPECT_EQ(6 + i, values[static_cast<std::size_t>(i)]);
    }
}

TEST(random_sample, takes_one_draw_a_value) {
    seeded_draws draws(3);
    sample(30, 12, 0, 4, 5);
    const double next = draws.next();
    seeded_draws other(3);
    for (int i = 0; i < 12; ++i) other.next();
    EXPECT_EQ(other.next(), next);
}

TEST(random_sample, of_more_than_there_is_is_a_logic_error) {
    listed_draws draws;
    EXPECT_THROW(sample(3, 4, 0, -1, -1), std::logic_error);
    EXPECT_THROW(sample(3, 3, 0, 1, -1), std::logic_error);
    EXPECT_THROW(sample(3, 2, 0, 1, 2), std::logic_error);
    EXPECT_THROW(sample(0, 1, 0, -1, -1), std::logic_error);
    try {
        sample(3, 4, 0, -1, -1);
    } catch (const std::logic_error& error) {
        EXPECT_NE(std::string::npos, std::string(error.what()).find("RandomPermutation2"));
        EXPECT_NE(std::string::npos, std::string(error.what()).find("N - n_immune < M"));
    }
}

TEST(random_sample, is_uniform) {
    constexpr int n_draws = 6000;
    std::map<std::vector<int>, int> counts;
    std::map<std::vector<int>, double> chances;
    for (const int i : {2, 4, 5}) {
        for (const int j : {2, 4, 5}) {
            if (i != j) chances[{i, j}] = 1.0 / 6;
        }
    }
    seeded_draws draws(11);
    for (int n = 0; n < n_draws; ++n) ++counts[sample(4, 2, 2, 1, -1)];
    expect_frequencies(counts, chances, n_draws);
}

TEST(sorted_sample, is_ascending) {
    seeded_draws draws(6);
    for (const int n : {0, 1, 2, 3, 13, 40, 41, 200}) {
        std::vector<int> values = sample(300, n, -50, -1, -1);
        std::vector<int> expected = values;
        std::sort(expected.begin(), expected.end());
        RandomCombination2::SortAscending(n, values.data());
        EXPECT_EQ(expected, values);
    }
    std::vector<int> equal{5, 5, 1, 5, 1};
    RandomCombination2::SortAscending(5, equal.data());
    EXPECT_EQ((std::vector<int>{1, 1, 5, 5, 5}), equal);
    std::vector<int> part{9, 8, 7, 6};
    RandomCombination2::SortAscending(2, part.data());
    EXPECT_EQ((std::vector<int>{8, 9, 7, 6}), part);
}

}  // namespace
