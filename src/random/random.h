#pragma once

// The random stream of a run. A generator is installed once with Random::Set; everything that draws goes through it, so
// that a seed and the order of the draws decide the results. What goes on beside other work has a stream of its own,
// SplitMix, which it seeds.

#include <array>
#include <cstdint>

// Base class of generators. A generator overrides Next; the base forwards to the installed one.
class Random {
  public:
    Random() = default;
    Random(const Random&) = default;
    Random& operator=(const Random&) = default;
    virtual ~Random() = default;
    virtual const char* Name() const { return "Random"; }
    // A uniform value in (0, 1).
    virtual double Next();
    // Installs a generator, which must outlive all draws.
    static void Set(Random& generator);
    // The installed generator, null before Set.
    static Random* RNG;
};

// A uniform value in (0, 1) from the installed generator.
class Uniform : public Random {
  public:
    const char* Name() const override { return "Uniform"; }
    double Next() override { return RNG->Next(); }
};

// Mersenne Twister MT19937 (Matsumoto and Nishimura 1998). The state is shared by all objects.
class MT : public Random {
  public:
    MT() = default;  // keeps the state as it is; an unseeded one seeds itself with 5489
    // Takes a seed in [0, 1): its product with 2^32 is the first word of the state.
    explicit MT(double seed);
    const char* Name() const override { return "MT"; }
    // (32 random bits + 0.5) / 2^32
    double Next() override;
    static std::uint32_t genrand_int32();

  private:
    static constexpr int n_words = 624;
    static void init_genrand(std::uint32_t first_word);
    static void regenerate();
    static std::array<std::uint32_t, n_words> mt;
    static int mti;
};

// A stream of its own, for work that goes on beside other work (Steele, Lea and Flood 2014).
class SplitMix : public Random {
  public:
    explicit SplitMix(std::uint64_t seed) : state_(seed) {}
    // Takes its seed from two draws of the installed generator.
    static SplitMix from_installed();
    const char* Name() const override { return "SplitMix"; }
    // (52 random bits + 0.5) / 2^52
    double Next() override;

  private:
    std::uint64_t state_;
};

// Random samples without replacement.
class RandomPermutation2 {
  public:
    // Writes M distinct values of start .. start + N - 1 into s, leaving out the positions immune1 and immune2
    // (relative to start, -1 for none). Takes exactly M draws: a partial Fisher-Yates shuffle. Throws std::logic_error
    // when fewer than M values are left.
    static void Next(int N, int M, int* s, int start, int immune1, int immune2);
};

class RandomCombination2 {
  public:
    // Sorts s[0 .. n-1] in ascending order in place.
    static void SortAscending(int n, int* s);
};
