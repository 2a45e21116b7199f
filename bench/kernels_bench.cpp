// The inner loops of the sweeps. Counters give nanoseconds for the unit in which each cost is stated: a state at a
// site, a pair of states at a site, a carrier, a candidate at a counted site.

#include <benchmark/benchmark.h>

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <iostream>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "inference/kernels/kernels.h"
#include "inference/states/state_selection.h"
#include "model/aligned_buffer.h"
#include "random/random.h"

namespace {

std::mt19937_64& generator() {
    static std::mt19937_64 engine(1);
    return engine;
}

aligned_buffer random_values(std::size_t n, std::size_t n_filled) {
    std::uniform_real_distribution<double> uniform(1e-4, 1.0);
    aligned_buffer values(n);
    for (std::size_t i = 0; i < n_filled; ++i) values[i] = uniform(generator());
    return values;
}

// n bits, about one in `rarity` set.
std::vector<std::uint64_t> random_bits(std::size_t n, std::size_t rarity) {
    std::vector<std::uint64_t> bits((n + 63) / 64);
    for (std::size_t i = 0; i < n; ++i) {
        if (generator()() % rarity == 0) bits[i / 64] |= std::uint64_t{1} << (i % 64);
    }
    return bits;
}

void set_unit(benchmark::State& state, double units_per_pass) {
    state.counters["unit"] = benchmark::Counter(
        units_per_pass * 1e-9, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void haploid_forward(benchmark::State& state) {
    const auto K = static_cast<std::size_t>(state.range(0));
    const aligned_buffer f = random_values(kernels::haploid_padded(K), K);
    const auto bits = random_bits(K, 3);
    aligned_buffer out(kernels::haploid_padded(K));
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            kernels::active().haploid_forward(K, f.data(), 0.99, 1e-3, bits.data(), 0.999, 0.001, out.data()));
        benchmark::ClobberMemory();
    }
    set_unit(state, static_cast<double>(K));
}
BENCHMARK(haploid_forward)->Arg(80)->Arg(500)->Arg(2000);

void haploid_backward_with_posterior(benchmark::State& state) {
    const auto K = static_cast<std::size_t>(state.range(0));
    const aligned_buffer f = random_values(kernels::haploid_padded(K), K);
    const aligned_buffer c = random_values(kernels::haploid_padded(K), K);
    const auto bits = random_bits(K, 3);
    aligned_buffer out(kernels::haploid_padded(K));
    for (auto _ : state) {
        benchmark::DoNotOptimize(kernels::active().haploid_backward(K, c.data(), 0.99, 1e-3, f.data(), bits.data(),
                                                                    0.999, 0.001, out.data()));
        benchmark::ClobberMemory();
    }
    set_unit(state, static_cast<double>(K));
}
BENCHMARK(haploid_backward_with_posterior)->Arg(80)->Arg(500)->Arg(2000);

// Sets n of the first K bits.
void set_random_bits(std::size_t K, std::size_t n, std::uint64_t* bits) {
    while (n > 0) {
        const std::size_t k = generator()() % K;
        if (((bits[k / 64] >> (k % 64)) & 1U) != 0) continue;
        bits[k / 64] |= std::uint64_t{1} << (k % 64);
        --n;
    }
}

// Arguments: states, and how many of them carry the rarer allele. The unit is the whole site.
void posterior_at_unobserved_site(benchmark::State& state) {
    const auto K = static_cast<std::size_t>(state.range(0));
    const aligned_buffer f = random_values(kernels::haploid_padded(K), K);
    const aligned_buffer c = random_values(kernels::haploid_padded(K), K);
    aligned_buffer products(kernels::haploid_padded(K));
    kernels::active().multiply(K, f.data(), c.data(), products.data());
    const std::size_t words = (K + 63) / 64;
    std::array<kernels::state_weight, 8> weights{};
    double sums[8][2];
    std::vector<std::uint64_t> bits(weights.size() * words);
    for (std::size_t v = 0; v < weights.size(); ++v) {
        set_random_bits(K, static_cast<std::size_t>(state.range(1)), &bits[v * words]);
    }
    for (auto _ : state) {
        kernels::active().weigh_alleles(K, weights.size(), bits.data(), f.data(), c.data(), products.data(),
                                        {1.0, 1.0, 1.0}, weights.data(), sums);
        benchmark::DoNotOptimize(sums);
    }
    set_unit(state, static_cast<double>(weights.size()));
}
BENCHMARK(posterior_at_unobserved_site)->ArgsProduct({{500}, {1, 5, 10, 20, 40, 60, 100, 250}});

// One site after the other as sequenced panels have them: every second one without carriers, the others with 1 to K /
// 2, as many from 1 to 2 as from 2 to 4, and so on.
void posteriors_at_mixed_sites(benchmark::State& state) {
    constexpr std::size_t K = 500, words = (K + 63) / 64, n_sites = 4096;
    const aligned_buffer f = random_values(kernels::haploid_padded(K), K);
    const aligned_buffer c = random_values(kernels::haploid_padded(K), K);
    aligned_buffer products(kernels::haploid_padded(K));
    kernels::active().multiply(K, f.data(), c.data(), products.data());
    std::uniform_real_distribution<double> exponent(0.0, std::log2(K / 2));
    std::vector<std::uint64_t> bits(n_sites * words);
    for (std::size_t v = 0; v < n_sites; ++v) {
        if (generator()() % 2 == 0) continue;
        set_random_bits(K, static_cast<std::size_t>(std::exp2(exponent(generator()))), &bits[v * words]);
    }
    std::array<kernels::state_weight, 8> weights{};
    double sums[8][2];
    for (auto _ : state) {
        for (std::size_t v = 0; v < n_sites; v += weights.size()) {
            kernels::active().weigh_alleles(K, weights.size(), &bits[v * words], f.data(), c.data(), products.data(),
                                            {1.0, 1.0, 1.0}, weights.data(), sums);
            benchmark::DoNotOptimize(sums);
        }
    }
    set_unit(state, static_cast<double>(n_sites));
}
BENCHMARK(posteriors_at_mixed_sites);

// Classes of K states, the values of all states and the images of the classes being random.
struct haploid_class_inputs {
    haploid_class_inputs(std::size_t K, std::size_t n_classes) : n(n_classes) {
        for (std::size_t k = 0; k < K; ++k) size[generator()() % n] += 1.0;
    }
    std::size_t n;
    std::size_t padded = kernels::padded(n);
    aligned_buffer size = aligned_buffer(padded);
    aligned_buffer left = random_values(padded, n), right = random_values(padded, n),
                   products = random_values(padded, n);
    aligned_buffer left_factor = random_values(padded, n), left_arrived = random_values(padded, n);
    aligned_buffer right_factor = random_values(padded, n), right_arrived = random_values(padded, n);
};

// Arguments: classes of 500 states, and how many of them carry the rarer allele. A stretch of ten sites; the unit is a
// site, with its share of what is done once for the stretch.
void posterior_by_class(benchmark::State& state) {
    haploid_class_inputs in(500, static_cast<std::size_t>(state.range(0)));
    constexpr std::size_t n_sites = 10;
    const std::size_t words = (in.n + 63) / 64;
    std::vector<std::uint64_t> bits(n_sites * words);
    for (std::size_t v = 0; v < n_sites; ++v) {
        set_random_bits(in.n, static_cast<std::size_t>(state.range(1)), &bits[v * words]);
    }
    std::array<kernels::state_weight, n_sites> weights{};
    aligned_buffer quads(4 * in.padded);
    double sums[n_sites][2];
    for (auto _ : state) {
        kernels::active().weigh_by_class(
            in.n, {in.size.data(), in.left.data()}, {in.left_factor.data(), in.left_arrived.data()},
            {in.size.data(), in.right.data()}, {in.right_factor.data(), in.right_arrived.data()}, in.products.data(),
            n_sites, 0, bits.data(), weights.data(), quads.data(), sums);
        benchmark::DoNotOptimize(sums);
    }
    set_unit(state, static_cast<double>(n_sites));
}
BENCHMARK(posterior_by_class)->ArgsProduct({{60}, {0, 1, 4, 7, 16, 30}});

// The unit is a site.
void haploid_step_by_class(benchmark::State& state) {
    haploid_class_inputs in(500, static_cast<std::size_t>(state.range(0)));
    const auto bits = random_bits(in.n, 3);
    aligned_buffer factor(in.padded), arrived(in.padded);
    for (auto _ : state) {
        benchmark::DoNotOptimize(kernels::active().enter_by_class(
            in.n, {in.size.data(), in.left.data()}, {in.left_factor.data(), in.left_arrived.data()}, 0.99, 1e-3,
            bits.data(), 0.999, 0.001, {factor.data(), arrived.data()}));
        benchmark::ClobberMemory();
    }
    set_unit(state, 1.0);
}
BENCHMARK(haploid_step_by_class)->Arg(60);

void diploid_forward(benchmark::State& state) {
    const auto K = static_cast<std::size_t>(state.range(0));
    const std::size_t size = kernels::triangle_size(K);
    aligned_buffer f(size);
    for (std::size_t a = 0; a < K; ++a) {
        for (std::size_t b = 0; b <= a; ++b) f[kernels::triangle_row(a) + b] = 1e-3;
    }
    const aligned_buffer g = random_values(kernels::padded(K), K);
    const auto bits = random_bits(K, 3);
    const double emission[3] = {0.99, 0.1, 0.001};
    aligned_buffer out(size), row(kernels::padded(K)), row_sums(kernels::padded(K)),
        emission_rows(2 * kernels::padded(K));
    for (auto _ : state) {
        benchmark::DoNotOptimize(kernels::active().diploid_forward(K, f.data(), g.data(), 0.98, 1e-5, bits.data(),
                                                                   emission, emission_rows.data(), f.data(), row.data(),
                                                                   row_sums.data()));
        benchmark::ClobberMemory();
    }
    set_unit(state, static_cast<double>(K * (K + 1)) / 2.0);
}
BENCHMARK(diploid_forward)->Arg(40)->Arg(80)->Arg(160);

// Arguments: states, classes of states with equal alleles. The unit is a site.
struct class_inputs {
    explicit class_inputs(const benchmark::State& state)
        : K(static_cast<std::size_t>(state.range(0))),
          n(static_cast<std::size_t>(state.range(1))),
          of_state(K),
          class_row(n),
          size(n),
          f(kernels::triangle_size(K)),
          tables(2 * n * kernels::padded(K) + n * kernels::padded(n)),
          scratch(std::max<std::size_t>(n, 6) * kernels::padded(K)) {
        for (std::size_t k = 0; k < K; ++k) {
            of_state[k] = static_cast<std::uint32_t>(generator()() % n);
            size[of_state[k]] += 1.0;
            for (std::size_t b = 0; b <= k; ++b) f[kernels::triangle_row(k) + b] = 1e-3;
        }
        double* factor = tables.data() + 2 * n * kernels::padded(K);
        view = {K, n, of_state.data(), size.data(), tables.data(), factor, scratch.data()};
        kernels::active().pairs_to_classes(view, f.data(), class_row.data());
    }
    std::size_t K, n;
    std::vector<std::uint32_t> of_state;
    std::vector<double> class_row;
    std::vector<double> size;
    aligned_buffer f, tables, scratch;
    kernels::pair_classes view{};
};

void class_step(benchmark::State& state) {
    class_inputs in(state);
    const aligned_buffer shared = random_values(kernels::padded(in.K), in.K);
    const aligned_buffer class_shared = random_values(in.n, in.n);
    const auto bits = random_bits(in.K, 3), class_bits = random_bits(in.n, 3);
    const double emission[3] = {1.0, 1.0, 1.0};  // nothing vanishes in many steps
    aligned_buffer row(kernels::padded(in.K));
    const kernels::class_site site{1.0,     1e-5, shared.data(), class_shared.data(), bits.data(), class_bits.data(),
                                   emission};
    for (auto _ : state) {
        kernels::active().class_step(in.view, site, row.data(), in.class_row.data());
        benchmark::ClobberMemory();
    }
    set_unit(state, 1.0);
}
BENCHMARK(class_step)->Args({80, 5})->Args({80, 10})->Args({80, 20});

void class_block(benchmark::State& state) {
    class_inputs in(state);
    for (auto _ : state) {
        kernels::active().pairs_to_classes(in.view, in.f.data(), in.class_row.data());
        kernels::active().classes_to_pairs(in.view, in.f.data(), in.f.data());
        benchmark::ClobberMemory();
    }
    set_unit(state, 1.0);
}
BENCHMARK(class_block)->Args({80, 5})->Args({80, 10})->Args({80, 20});

// Arguments: candidates, counted sites.
void distances(benchmark::State& state) {
    const auto n_rows = static_cast<std::size_t>(state.range(0));
    const auto n_sites = static_cast<std::size_t>(state.range(1));
    const std::size_t words = (n_sites + 63) / 64;
    std::vector<std::uint64_t> rows(n_rows * words), x(words);
    for (auto& word : rows) word = generator()();
    std::vector<int> counts(n_rows);
    for (auto _ : state) {
        kernels::active().distances(words, x.data(), n_rows, rows.data(), counts.data());
        benchmark::ClobberMemory();
    }
    set_unit(state, static_cast<double>(n_rows) * static_cast<double>(n_sites));
}
BENCHMARK(distances)->Args({1000, 900})->Args({5000, 900})->Args({50000, 900});

// The unit is a candidate.
void selection_of_nearest(benchmark::State& state) {
    const auto n = static_cast<std::size_t>(state.range(0));
    std::vector<int> figures(n);
    for (int& figure : figures) figure = static_cast<int>(generator()() % 900);
    std::vector<std::uint8_t> keep;
    for (auto _ : state) {
        select_nearest(figures, 500, keep);
        benchmark::ClobberMemory();
    }
    set_unit(state, static_cast<double>(n));
}
BENCHMARK(selection_of_nearest)->Arg(1000)->Arg(5000)->Arg(50000);

// Haplotypes in an order at a site, a tenth of which have allele 1. The unit is a haplotype.
void sort_by_allele(benchmark::State& state) {
    const auto n = static_cast<std::size_t>(state.range(0));
    std::vector<kernels::sorted_haplotype> haps(n), scratch(n + 8);
    std::vector<kernels::ranked_alleles> ranked(n / 32 + 1);
    for (auto& hap : haps) {
        for (unsigned bit = 0; bit < 32; ++bit) hap.alleles |= std::uint32_t{generator()() % 10 == 0 ? 1U : 0U} << bit;
    }
    unsigned bit = 0;
    for (auto _ : state) {
        kernels::active().sort_by_allele(n, bit++ % 32, haps.data(), scratch.data(), ranked.data());
        benchmark::ClobberMemory();
    }
    set_unit(state, static_cast<double>(n));
}
BENCHMARK(sort_by_allele)->Arg(5000)->Arg(50000);

// 64 targets among haplotypes in an order, over 900 sites. The unit is a target and site.
void pass_ranked(benchmark::State& state) {
    constexpr std::size_t n_sites = 900, n_targets = 64;
    const auto n = static_cast<std::size_t>(state.range(0));
    const std::size_t words = n / 32 + 1;
    std::vector<kernels::ranked_alleles> ranked(n_sites * words);
    for (std::size_t site = 0; site < n_sites; ++site) {
        std::uint32_t n_ones = 0;
        for (std::size_t w = 0; w < words; ++w) {
            const auto word = static_cast<std::uint32_t>(w + 1 < words ? generator()() : 0);
            ranked[site * words + w] = {word, n_ones};
            n_ones += static_cast<std::uint32_t>(std::popcount(word));
        }
    }
    std::vector<std::uint64_t> alleles(n_sites), places(n_targets, 0);
    for (auto& word : alleles) word = generator()();
    for (auto _ : state) {
        for (std::size_t site = 0; site < n_sites; ++site) {
            kernels::active().pass_ranked(n, ranked.data() + site * words, alleles[site], n_targets, places.data());
        }
        benchmark::ClobberMemory();
    }
    set_unit(state, static_cast<double>(n_sites * n_targets));
}
BENCHMARK(pass_ranked)->Arg(5000)->Arg(50000);

void bit_transposition(benchmark::State& state) {
    alignas(64) std::uint64_t block[64];
    for (auto& word : block) word = generator()();
    for (auto _ : state) {
        kernels::active().transpose(block, block);
        benchmark::ClobberMemory();
    }
    set_unit(state, 1.0);
}
BENCHMARK(bit_transposition);

}  // namespace

// Takes --level=baseline, avx2 or avx512, the kernels to measure, besides the options of the library.
int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    for (int i = 1; i < argc; ++i) {
        const std::string option = argv[i];
        bool known = false;
        for (const auto& [name, level] :
             {std::pair{"baseline", kernels::level::baseline}, std::pair{"avx2", kernels::level::avx2},
              std::pair{"avx512", kernels::level::avx512}}) {
            if (option != std::string("--level=") + name) continue;
            if (!kernels::available(level)) {
                std::cerr << "this machine has no " << name << "\n";
                return 1;
            }
            kernels::choose(level);
            known = true;
        }
        if (!known) {
            std::cerr << "unknown option " << option << "\n";
            return 1;
        }
    }
    MT draws(1.0);  // ties are broken at random
    Random::RNG = &draws;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
