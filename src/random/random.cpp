#include "random/random.h"

#include <algorithm>
#include <numeric>
#include <stdexcept>
#include <vector>

Random* Random::RNG = nullptr;

double Random::Next() {
    return RNG->Next();
}

void Random::Set(Random& generator) {
    RNG = &generator;
}

std::array<std::uint32_t, MT::n_words> MT::mt{};
int MT::mti = MT::n_words + 1;

MT::MT(double seed) {
    // Through a signed 64-bit integer, so that the low 32 bits are defined for negative seeds too.
    init_genrand(static_cast<std::uint32_t>(static_cast<std::int64_t>(seed * 4294967296.0)));
}

void MT::init_genrand(std::uint32_t first_word) {
    mt[0] = first_word;
    for (std::uint32_t k = 1; k < n_words; ++k) mt[k] = 1812433253U * (mt[k - 1] ^ (mt[k - 1] >> 30)) + k;
    mti = n_words;
}

void MT::regenerate() {
    constexpr std::uint32_t upper_mask = 0x80000000U;
    constexpr std::uint32_t lower_mask = 0x7fffffffU;
    constexpr std::uint32_t matrix_a = 0x9908b0dfU;
    constexpr std::size_t period = 397;
    for (std::size_t k = 0; k < n_words; ++k) {
        const std::uint32_t y = (mt[k] & upper_mask) | (mt[(k + 1) % n_words] & lower_mask);
        mt[k] = mt[(k + period) % n_words] ^ (y >> 1) ^ ((y & 1U) != 0 ? matrix_a : 0U);
    }
    mti = 0;
}

std::uint32_t MT::genrand_int32() {
    if (mti > n_words) init_genrand(5489U);
    if (mti >= n_words) regenerate();
    std::uint32_t y = mt[static_cast<std::size_t>(mti++)];
    y ^= y >> 11;
    y ^= (y << 7) & 0x9d2c5680U;
    y ^= (y << 15) & 0xefc60000U;
    y ^= y >> 18;
    return y;
}

double MT::Next() {
    return (static_cast<double>(genrand_int32()) + 0.5) * 2.3283064365386963e-10;
}

SplitMix SplitMix::from_installed() {
    const auto bits = [] { return static_cast<std::uint64_t>(RNG->Next() * 0x1p32); };
    const std::uint64_t high = bits();
    return SplitMix(high << 32U | bits());
}

double SplitMix::Next() {
    state_ += 0x9e3779b97f4a7c15U;
    std::uint64_t z = state_;
    z = (z ^ (z >> 30U)) * 0xbf58476d1ce4e5b9U;
    z = (z ^ (z >> 27U)) * 0x94d049bb133111ebU;
    z ^= z >> 31U;
    return (static_cast<double>(z >> 12U) + 0.5) * 0x1p-52;
}

void RandomPermutation2::Next(int N, int M, int* s, int start, int immune1, int immune2) {
    const int n_immune = (immune1 != -1 ? 1 : 0) + (immune2 != -1 ? 1 : 0);
    const int n_free = N - n_immune;
    if (n_free < M) throw std::logic_error("RandomPermutation2: N - n_immune < M");
    std::vector<int> work;
    work.reserve(static_cast<std::size_t>(n_free));
    for (int k = 0; k < N; ++k) {
        if (k != immune1 && k != immune2) work.push_back(start + k);
    }
    for (int j = 0; j < M; ++j) {
        const int x = static_cast<int>(static_cast<double>(n_free - j) * Random::RNG->Next());
        const auto place = static_cast<std::size_t>(j);
        const std::size_t t = place + static_cast<std::size_t>(x);
        s[j] = work[t];
        work[t] = work[place];
    }
}

void RandomCombination2::SortAscending(int n, int* s) {
    std::sort(s, s + n);
}
