#pragma once

// What the tests of the sweeps share: seeded inputs, packed allele rows, the installed generator, frequency checks.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <random>
#include <vector>

#include "inference/sweep_constants.h"
#include "model/allele_row.h"
#include "random/random.h"

// Random test inputs, apart from the program's own generator.
class input_source {
  public:
    explicit input_source(std::uint64_t seed) : engine_(seed) {}
    double uniform() { return static_cast<double>(engine_() >> 11) * 0x1p-53; }
    double uniform(double from, double to) { return from + (to - from) * uniform(); }
    // from .. to, both included.
    int integer(int from, int to) {
        return from + static_cast<int>(engine_() % static_cast<std::uint64_t>(to - from + 1));
    }
    // 0 .. n - 1.
    std::size_t index(std::size_t n) { return static_cast<std::size_t>(engine_() % n); }
    bool chance(double p) { return uniform() < p; }
    std::uint64_t word() { return engine_(); }

  private:
    std::mt19937_64 engine_;
};

// Installs a freshly seeded generator, and puts back what was installed before.
class seeded_draws {
  public:
    explicit seeded_draws(int seed) : old_(Random::RNG), generator_(static_cast<double>(seed) / 4294967296.0) {
        Random::Set(generator_);
    }
    ~seeded_draws() { Random::RNG = old_; }
    seeded_draws(const seeded_draws&) = delete;
    seeded_draws& operator=(const seeded_draws&) = delete;
    // The draw that comes next: tells where the generator stands.
    double next() { return generator_.Next(); }

  private:
    Random* old_;
    MT generator_;
};

// Bit rows of state alleles: [sites][words].
inline std::vector<std::uint64_t> pack_rows(const std::vector<std::vector<int>>& rows, std::size_t K) {
    const std::size_t words = bits::words_for(K);
    std::vector<std::uint64_t> packed(rows.size() * words, 0);
    for (std::size_t v = 0; v < rows.size(); ++v) {
        for (std::size_t k = 0; k < K; ++k) {
            if (rows[v][k] != 0) bits::set(packed.data() + v * words, k, true);
        }
    }
    return packed;
}

// Equal but for rounding, relative to the larger one, or to 1 for small ones; equal infinities and two NaNs count as
// equal.
inline bool nearly_equal(double a, double b, double tolerance) {
    if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b);
    if (std::isinf(a) || std::isinf(b)) return a == b;
    return std::abs(a - b) <= tolerance * std::max({1.0, std::abs(a), std::abs(b)});
}

// A sampled state as the plain models tell it: -1 for none.
inline int as_plain(std::size_t state) {
    return state == no_state ? -1 : static_cast<int>(state);
}
template <std::size_t n>
std::array<int, n> as_plain(const std::array<std::size_t, n>& states) {
    std::array<int, n> plain{};
    for (std::size_t i = 0; i < n; ++i) plain[i] = as_plain(states[i]);
    return plain;
}

// A distance between sites, from none to more than any memory of the states survives.
inline double random_distance(input_source& source) {
    switch (source.integer(0, 5)) {
        case 0:
            return 0.0;
        case 1:
            return source.uniform(0.0, 1e-6);
        case 2:
            return source.uniform(0.0, 1e-2);
        case 3:
            return source.uniform(0.0, 5.0);
        case 4:
            return source.uniform(0.0, 200.0);
        default:
            return 1e9;
    }
}

// Row of K state alleles at a site: common, rare, or the same for all.
inline std::vector<int> random_row(input_source& source, int K) {
    const double frequency = source.integer(0, 3) == 0 ? source.integer(0, 1) : source.uniform() * source.uniform();
    std::vector<int> row(static_cast<std::size_t>(K));
    for (int& allele : row) allele = source.chance(frequency) ? 1 : 0;
    return row;
}

// Compares counts of outcomes with their chances by the sum of squared deviations; rare outcomes are pooled. The limit
// lies six standard deviations above what is expected.
inline void expect_frequencies(const std::map<std::vector<int>, int>& counts,
                               const std::map<std::vector<int>, double>& chances, int n_draws) {
    double sum = 0.0, pooled_chance = 0.0;
    int pooled_count = 0, n_cells = 0, n_seen = 0;
    const auto cell = [&](double count, double expected) {
        sum += (count - expected) * (count - expected) / expected;
        ++n_cells;
    };
    for (const auto& [outcome, chance] : chances) {
        const auto found = counts.find(outcome);
        const int count = found == counts.end() ? 0 : found->second;
        n_seen += count;
        if (chance * n_draws < 5.0) {
            pooled_chance += chance;
            pooled_count += count;
        } else {
            cell(count, chance * n_draws);
        }
    }
    if (pooled_chance * n_draws > 1.0) cell(pooled_count, pooled_chance * n_draws);
    EXPECT_EQ(n_draws, n_seen) << "outcomes without any chance";
    ASSERT_GE(n_cells, 2) << "nothing to compare";
    const double freedom = n_cells - 1;
    EXPECT_LT(sum, freedom + 6.0 * std::sqrt(2.0 * freedom) + 6.0);
}
