// The kernels that carry one haplotype by classes of states, against the same over single states.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "inference/inference_tools.h"
#include "inference/kernels/kernels.h"
#include "model/aligned_buffer.h"

namespace {

using kernels::padded;

const std::vector<std::size_t> class_counts{1,  2,  3,  7,  8,  9,  15, 16,  17,  31,  32,  33,
                                            40, 63, 64, 65, 72, 73, 96, 127, 128, 129, 192, 200};
constexpr double smallest_normal = std::numeric_limits<double>::min();

// Runs the action, which returns all that a kernel gave, at every level: the very same bits are wanted. Gives them.
std::vector<double> same_at_all_levels(const std::function<std::vector<double>(const kernels::table&)>& action) {
    const std::vector<double> first = action(kernels::at(kernels::level::baseline));
    for (const auto l : {kernels::level::avx2, kernels::level::avx512}) {
        if (!kernels::available(l)) continue;
        const std::vector<double> other = action(kernels::at(l));
        EXPECT_EQ(first.size(), other.size());
        for (std::size_t i = 0; i < std::min(first.size(), other.size()); ++i) {
            EXPECT_EQ(std::bit_cast<std::uint64_t>(first[i]), std::bit_cast<std::uint64_t>(other[i]))
                << "level " << static_cast<int>(l) << " value " << i << ": " << first[i] << ", " << other[i];
        }
    }
    return first;
}

void expect_close(double expected, double found, double tolerance) {
    if (!(std::abs(expected - found) <= tolerance)) {
        ADD_FAILURE() << expected << " expected, " << found << " found, " << found - expected << " more";
    }
}

// Over many powers of ten, as probabilities are.
double probability(input_source& source) {
    return source.uniform(0.1, 1.0) * std::pow(10.0, -source.integer(0, 30));
}

// Values of the states at a border, their sums by class, and what has become of them. What is past the last class has
// sums of zero, but any image.
struct class_side {
    class_side(input_source& source, std::size_t n, const std::vector<std::size_t>& class_of)
        : values(class_of.size()), sums(padded(n)), factor(padded(n)), arrived(padded(n)) {
        for (std::size_t k = 0; k < class_of.size(); ++k) {
            values[k] = probability(source);
            sums[class_of[k]] += values[k];
        }
        for (double& value : factor) value = source.chance(0.1) ? 0.0 : probability(source);
        for (double& value : arrived) value = source.chance(0.1) ? 0.0 : probability(source);
    }
    double value(std::size_t k, std::size_t c) const { return factor[c] * values[k] + arrived[c]; }
    kernels::class_image image() { return {factor.data(), arrived.data()}; }

    std::vector<double> values;  // by state
    aligned_buffer sums, factor, arrived;
};

struct class_inputs {
    class_inputs(input_source& source, std::size_t n_classes)
        : n(n_classes),
          class_of(states_of(source, n_classes)),
          size(padded(n)),
          left(source, n, class_of),
          right(source, n, class_of),
          products(padded(n)) {
        for (std::size_t k = 0; k < class_of.size(); ++k) {
            size[class_of[k]] += 1.0;
            products[class_of[k]] += left.values[k] * right.values[k];
        }
    }
    kernels::class_sums left_sums() const { return {size.data(), left.sums.data()}; }
    kernels::class_sums right_sums() const { return {size.data(), right.sums.data()}; }

    std::size_t n;
    std::vector<std::size_t> class_of;  // by state
    aligned_buffer size;
    class_side left, right;
    aligned_buffer products;

  private:
    static std::vector<std::size_t> states_of(input_source& source, std::size_t n) {
        std::vector<std::size_t> class_of(n + static_cast<std::size_t>(source.integer(0, 300)));
        for (std::size_t k = 0; k < class_of.size(); ++k) {
            class_of[k] = k < n ? k : static_cast<std::size_t>(source.integer(0, static_cast<int>(n) - 1));
        }
        return class_of;
    }
};

void for_all_class_counts(std::uint64_t seed, const std::function<void(input_source&, class_inputs&)>& check) {
    input_source source(seed);
    for (const std::size_t n : class_counts) {
        SCOPED_TRACE(std::to_string(n) + " classes");
        class_inputs in(source, n);
        check(source, in);
    }
}

std::vector<std::uint64_t> random_bits(input_source& source, std::size_t n, double frequency) {
    std::vector<std::uint64_t> row(bits::words_for(n), 0);
    for (std::size_t c = 0; c < n; ++c) bits::set(row.data(), c, source.chance(frequency));
    return row;
}

void check_enter(input_source& source, class_inputs& in) {
    const std::vector<std::uint64_t> row = random_bits(source, in.n, source.uniform());
    const double alpha = source.chance(0.2) ? 0.0 : source.uniform(), beta = source.chance(0.2) ? 0.0 : 1e-3;
    const double m0 = source.uniform(), m1 = 1e-9 * m0;
    for (const bool in_place : {false, true}) {
        const std::vector<double> found = same_at_all_levels([&](const kernels::table& kernel) {
            class_side from = in.left;
            aligned_buffer factor(padded(in.n)), arrived(padded(in.n));
            const kernels::class_image to =
                in_place ? from.image() : kernels::class_image{factor.data(), arrived.data()};
            std::vector<double> all{
                kernel.enter_by_class(in.n, in.left_sums(), from.image(), alpha, beta, row.data(), m0, m1, to)};
            all.insert(all.end(), to.factor, to.factor + in.n);
            all.insert(all.end(), to.arrived, to.arrived + in.n);
            return all;
        });
        ASSERT_EQ(1 + 2 * in.n, found.size());
        double sum = 0.0;
        for (std::size_t k = 0; k < in.class_of.size(); ++k) {
            const std::size_t c = in.class_of[k];
            const double m = bits::get(row.data(), c) ? m1 : m0;
            const double value = (alpha * in.left.value(k, c) + beta) * m;
            expect_close(value, found[1 + c] * in.left.values[k] + found[1 + in.n + c], 1e-14 * value);
            sum += value;
        }
        expect_close(sum, found[0], 1e-13 * sum);
    }
}

TEST(haploid_class_kernels, enter_by_class_is_a_forward_step_of_all_states) {
    for_all_class_counts(1, check_enter);
    for_all_class_counts(2, check_enter);
}

std::size_t ones(const std::uint64_t* row, std::size_t n) {
    std::size_t count = 0;
    for (std::size_t c = 0; c < n; ++c) count += bits::get(row, c) ? 1 : 0;
    return count;
}

// A stretch of sites, and what weighs there.
struct weighed_sites {
    std::vector<std::uint64_t> rows;
    std::vector<kernels::state_weight> weights;

    void add(const std::vector<std::uint64_t>& row, const kernels::state_weight& weight) {
        rows.insert(rows.end(), row.begin(), row.end());
        weights.push_back(weight);
    }
    std::size_t n() const { return weights.size(); }
    const std::uint64_t* row(std::size_t i) const { return rows.data() + i * (rows.size() / n()); }
};

std::array<double, 2> plain_weights(const class_inputs& in, const std::uint64_t* row, const kernels::state_weight& w) {
    std::array<double, 2> sums{};
    for (std::size_t k = 0; k < in.class_of.size(); ++k) {
        const std::size_t c = in.class_of[k];
        const double before = in.left.value(k, c), after = in.right.value(k, c);
        sums[bits::get(row, c) ? 1 : 0] +=
            w.product * before * after + w.forward * before + w.backward * after + w.each;
    }
    return sums;
}

std::vector<double> weigh(class_inputs& in, const weighed_sites& sites, std::size_t n_observed) {
    return same_at_all_levels([&](const kernels::table& kernel) {
        aligned_buffer quads(4 * padded(in.n));
        std::vector<double> by_allele(2 * sites.n(), -7.0);
        kernel.weigh_by_class(in.n, in.left_sums(), in.left.image(), in.right_sums(), in.right.image(),
                              in.products.data(), sites.n(), n_observed, sites.rows.data(), sites.weights.data(),
                              quads.data(), reinterpret_cast<double(*)[2]>(by_allele.data()));
        return by_allele;
    });
}

weighed_sites random_sites(input_source& source, std::size_t n) {
    weighed_sites sites;
    for (const double frequency : {0.0, 0.02, 0.3, 0.5, 0.7, 0.98, 1.0}) {
        kernels::state_weight weight{source.uniform(), source.uniform(), source.uniform(), source.uniform()};
        // As at an observed site, and where nothing is remembered.
        if (frequency == 0.3) weight = {1.0, 0.0, 0.0, 0.0};
        if (frequency == 0.7) weight = {0.0, 0.0, 0.0, 1.0};
        sites.add(random_bits(source, n, frequency), weight);
    }
    for (const bool rare : {false, true}) {  // one class of its own
        std::vector<std::uint64_t> row = random_bits(source, n, rare ? 1.0 : 0.0);
        bits::set(row.data(), n - 1, !rare);
        sites.add(row, {source.uniform(), 0.0, source.uniform(), 0.0});
        sites.add(row, {0.0, source.uniform(), 0.0, 0.0});
    }
    return sites;
}

void check_weights(input_source& source, class_inputs& in) {
    const weighed_sites sites = random_sites(source, in.n);
    for (const std::size_t n_observed : {std::size_t{0}, std::size_t{1}, std::size_t{3}, sites.n()}) {
        const std::vector<double> found = weigh(in, sites, n_observed);
        ASSERT_EQ(2 * sites.n(), found.size());
        for (std::size_t i = 0; i < sites.n(); ++i) {
            SCOPED_TRACE("site " + std::to_string(i) + " of " + std::to_string(n_observed) + " observed");
            const std::array<double, 2> plain = plain_weights(in, sites.row(i), sites.weights[i]);
            const std::size_t n_ones = ones(sites.row(i), in.n);
            if (n_ones == 0 || n_ones == in.n) {
                EXPECT_EQ(n_ones == 0 ? 1.0 : 0.0, found[2 * i]);
                EXPECT_EQ(n_ones == 0 ? 0.0 : 1.0, found[2 * i + 1]);
                continue;
            }
            for (std::size_t allele = 0; allele < 2; ++allele) {
                const double scale = i < n_observed ? plain[allele] : plain[0] + plain[1];
                expect_close(plain[allele], found[2 * i + allele], 1e-13 * scale);
            }
        }
    }
}

TEST(haploid_class_kernels, weigh_by_class_sums_over_the_states_with_an_allele) {
    for_all_class_counts(3, check_weights);
    for_all_class_counts(4, check_weights);
}

// A class a hundred powers of ten below the rest counts in full where neither allele is had by subtraction.
TEST(haploid_class_kernels, weigh_by_class_finds_a_tiny_allele_at_observed_sites) {
    for_all_class_counts(5, [](input_source& source, class_inputs& in) {
        if (in.n < 2) return;
        for (const bool tiny_has_one : {false, true}) {
            for (const std::size_t n_tiny : {std::size_t{1}, in.n / 2, in.n - 1}) {
                weighed_sites sites;
                std::vector<std::uint64_t> row(bits::words_for(in.n), 0);
                for (std::size_t c = 0; c < in.n; ++c) {
                    const bool tiny = c < n_tiny;
                    bits::set(row.data(), c, tiny == tiny_has_one);
                    const double scale = tiny ? 1e-100 : 1.0;
                    in.left.factor[c] = scale * source.uniform(0.1, 1.0);
                    in.left.arrived[c] = scale * source.uniform(0.1, 1.0);
                }
                sites.add(row, {0.75, 0.25, 0.0, 0.0});
                const std::vector<double> found = weigh(in, sites, 1);
                const std::array<double, 2> plain = plain_weights(in, row.data(), sites.weights[0]);
                for (std::size_t allele = 0; allele < 2; ++allele) {
                    expect_close(plain[allele], found[allele], 1e-13 * plain[allele]);
                }
            }
        }
    });
}

// Where all states have one allele its weight is 1, but not if no state has any.
TEST(haploid_class_kernels, weigh_by_class_says_nothing_where_no_state_has_weight) {
    for_all_class_counts(6, [](input_source& source, class_inputs& in) {
        for (const double each : {0.0, 1e-310, 1.0}) {
            weighed_sites sites;
            for (const double frequency : {0.0, 1.0}) {
                sites.add(random_bits(source, in.n, frequency), {0.0, 0.0, 0.0, each});
            }
            const double all = each * static_cast<double>(in.class_of.size());
            for (const std::size_t n_observed : {0U, 2U}) {
                const std::vector<double> found = weigh(in, sites, n_observed);
                const double one = all > smallest_normal ? 1.0 : all;
                EXPECT_EQ((std::vector<double>{one, 0.0, 0.0, one}), found) << each;
            }
        }
    });
}

}  // namespace
