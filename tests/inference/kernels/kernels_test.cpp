#include "inference/kernels/kernels.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <functional>
#include <limits>
#include <set>
#include <string>
#include <vector>

#include "inference/inference_tools.h"
#include "model/aligned_buffer.h"

namespace {

using kernels::haploid_padded;
using kernels::padded;

const std::vector<std::size_t> state_counts{1, 2, 7, 8, 9, 15, 16, 17, 24, 31, 33, 63, 64, 65, 70, 127, 128, 129};

std::vector<kernels::level> levels() {
    std::vector<kernels::level> usable;
    for (const auto l : {kernels::level::baseline, kernels::level::avx2, kernels::level::avx512}) {
        if (kernels::available(l)) usable.push_back(l);
    }
    return usable;
}

// Runs the action, which returns all that a kernel gave, at every level: the very same bits are wanted. Gives them.
std::vector<double> same_at_all_levels(const std::function<std::vector<double>(const kernels::table&)>& action) {
    const std::vector<double> first = action(kernels::at(kernels::level::baseline));
    for (const auto l : levels()) {
        const std::vector<double> other = action(kernels::at(l));
        EXPECT_EQ(first.size(), other.size());
        for (std::size_t i = 0; i < std::min(first.size(), other.size()); ++i) {
            if (std::bit_cast<std::uint64_t>(first[i]) != std::bit_cast<std::uint64_t>(other[i])) {
                ADD_FAILURE() << "level " << static_cast<int>(l) << " value " << i << ": " << first[i] << ", "
                              << other[i];
            }
        }
    }
    return first;
}

void append(std::vector<double>& all, const aligned_buffer& values, std::size_t n) {
    all.insert(all.end(), values.begin(), values.begin() + static_cast<std::ptrdiff_t>(n));
}

void expect_near(double expected, double found) {
    if (!(std::abs(expected - found) <= 1e-13 * std::max(1.0, std::abs(expected)))) {
        ADD_FAILURE() << expected << " expected, " << found << " found";
    }
}

// Random inputs for K states; what lies past them is zero.
struct kernel_inputs {
    kernel_inputs(input_source& source, std::size_t n_states) : K(n_states) {
        f = vector(source);
        c = vector(source);
        g = vector(source);
        bits.assign(bits::words_for(K), 0);
        const double frequency = source.uniform();
        for (std::size_t k = 0; k < K; ++k) bits::set(bits.data(), k, source.chance(frequency));
        alpha = source.uniform();
        beta = source.uniform();
        m0 = source.uniform();
        m1 = source.uniform();
        for (double& value : e) value = source.uniform();
        triangle_f = triangle(source);
        triangle_b = triangle(source);
        square_f = square(source);
        square_b = square(source);
    }
    int allele(std::size_t k) const { return bits::get(bits.data(), k) ? 1 : 0; }
    std::size_t in_triangle(std::size_t a, std::size_t b) const { return kernels::triangle_row(a) + b; }
    std::size_t in_square(std::size_t a, std::size_t b) const { return a * padded(K) + b; }

    std::size_t K;
    aligned_buffer f, c, g, triangle_f, triangle_b, square_f, square_b;
    std::vector<std::uint64_t> bits;
    double alpha = 0.0, beta = 0.0, m0 = 0.0, m1 = 0.0;
    std::array<double, 4> e{};

  private:
    // Over many powers of ten, as probabilities are.
    static double value(input_source& source) { return source.uniform() * std::pow(10.0, -source.integer(0, 30)); }
    aligned_buffer vector(input_source& source) const {
        aligned_buffer values(haploid_padded(K));
        for (std::size_t k = 0; k < K; ++k) values[k] = value(source);
        return values;
    }
    aligned_buffer triangle(input_source& source) const {
        aligned_buffer values(kernels::triangle_size(K));
        for (std::size_t a = 0; a < K; ++a) {
            for (std::size_t b = 0; b <= a; ++b) values[in_triangle(a, b)] = value(source);
        }
        return values;
    }
    aligned_buffer square(input_source& source) const {
        aligned_buffer values(K * padded(K));
        for (std::size_t a = 0; a < K; ++a) {
            for (std::size_t b = 0; b < K; ++b) values[in_square(a, b)] = value(source);
        }
        return values;
    }
};

void for_all_sizes(std::uint64_t seed, const std::function<void(kernel_inputs&)>& check) {
    input_source source(seed);
    for (const std::size_t K : state_counts) {
        SCOPED_TRACE("K " + std::to_string(K));
        kernel_inputs in(source, K);
        check(in);
    }
}

TEST(kernel_layout, rows_of_the_triangle_follow_each_other_padded) {
    std::size_t next = 0;
    for (std::size_t a = 0; a < 300; ++a) {
        EXPECT_EQ(next, kernels::triangle_row(a));
        EXPECT_EQ(next, kernels::triangle_size(a));
        next += padded(a + 1);
    }
}

TEST(kernel_layout, the_baseline_is_always_there) {
    EXPECT_TRUE(kernels::available(kernels::level::baseline));
    EXPECT_EQ(&kernels::at(levels().back()), &kernels::active());
}

TEST(kernel_layout, a_level_can_be_chosen) {
    const kernels::level best = levels().back();
    kernels::choose(kernels::level::baseline);
    EXPECT_EQ(&kernels::at(kernels::level::baseline), &kernels::active());
    kernels::choose(best);
    EXPECT_EQ(&kernels::at(best), &kernels::active());
}

TEST(kernel_levels, haploid_forward) {
    for_all_sizes(1, [](kernel_inputs& in) {
        const auto found = same_at_all_levels([&](const kernels::table& t) {
            aligned_buffer out(haploid_padded(in.K), 5.0);
            std::vector<double> all{
                t.haploid_forward(in.K, in.f.data(), in.alpha, in.beta, in.bits.data(), in.m0, in.m1, out.data())};
            append(all, out, haploid_padded(in.K));
            return all;
        });
        double sum = 0.0;
        for (std::size_t k = 0; k < in.K; ++k) {
            const double v = (in.alpha * in.f[k] + in.beta) * (in.allele(k) == 1 ? in.m1 : in.m0);
            expect_near(v, found[1 + k]);
            sum += v;
        }
        expect_near(sum, found[0]);
        for (std::size_t k = in.K; k < haploid_padded(in.K); ++k) EXPECT_EQ(0.0, found[1 + k]);
    });
}

TEST(kernel_levels, haploid_backward) {
    for_all_sizes(2, [](kernel_inputs& in) {
        const auto found = same_at_all_levels([&](const kernels::table& t) {
            aligned_buffer out(haploid_padded(in.K), 5.0);
            const kernels::backward_sums sums = t.haploid_backward(in.K, in.c.data(), in.alpha, in.beta, in.f.data(),
                                                                   in.bits.data(), in.m0, in.m1, out.data());
            std::vector<double> all{sums.total, sums.carried[0], sums.carried[1]};
            append(all, out, haploid_padded(in.K));
            return all;
        });
        double total = 0.0;
        std::array<double, 2> carried{};
        for (std::size_t k = 0; k < in.K; ++k) {
            const double b = in.alpha * in.c[k] + in.beta;
            const double v = b * (in.allele(k) == 1 ? in.m1 : in.m0);
            carried[static_cast<std::size_t>(in.allele(k))] += in.f[k] * b;
            total += v;
            expect_near(v, found[3 + k]);
        }
        expect_near(total, found[0]);
        expect_near(carried[0], found[1]);
        expect_near(carried[1], found[2]);
        for (std::size_t k = in.K; k < haploid_padded(in.K); ++k) EXPECT_EQ(0.0, found[3 + k]);
    });
}

TEST(kernel_levels, weigh_alleles) {
    input_source source(3);
    std::vector<std::size_t> counts = state_counts;
    counts.insert(counts.end(), {511, 512, 513, 1030});
    for (const std::size_t K : counts) {
        SCOPED_TRACE("K " + std::to_string(K));
        const kernel_inputs in(source, K);
        // The given row, its complement, no carrier, one carrier.
        const std::size_t words = bits::words_for(in.K);
        std::vector<std::uint64_t> rows(4 * words);
        for (std::size_t k = 0; k < in.K; ++k) {
            bits::set(rows.data(), k, in.allele(k) == 1);
            bits::set(rows.data() + words, k, in.allele(k) == 0);
        }
        bits::set(rows.data() + 3 * words, in.K / 2, true);
        const kernels::state_weight w{0.7, 0.02, 0.03, 1e-3};
        const std::vector<kernels::state_weight> weights(4, w);
        kernels::state_sums all{0.0, 0.0, 0.0};
        for (std::size_t k = 0; k < in.K; ++k) {
            all.product += in.f[k] * in.c[k];
            all.forward += in.f[k];
            all.backward += in.c[k];
        }
        const auto found = same_at_all_levels([&](const kernels::table& t) {
            aligned_buffer products(haploid_padded(in.K));
            t.multiply(in.K, in.f.data(), in.c.data(), products.data());
            double by_allele[4][2];
            t.weigh_alleles(in.K, 4, rows.data(), in.f.data(), in.c.data(), products.data(), all, weights.data(),
                            by_allele);
            return std::vector<double>(&by_allele[0][0], &by_allele[0][0] + 8);
        });
        for (std::size_t v = 0; v < 4; ++v) {
            double sums[2] = {0.0, 0.0};
            for (std::size_t k = 0; k < in.K; ++k) {
                sums[bits::get(rows.data() + v * words, k) ? 1 : 0] +=
                    w.product * in.f[k] * in.c[k] + w.forward * in.f[k] + w.backward * in.c[k] + w.each;
            }
            const bool alike = sums[0] == 0.0 || sums[1] == 0.0;
            for (const std::size_t allele : {0U, 1U}) {
                if (alike) {
                    EXPECT_EQ(sums[allele] > 0.0 ? 1.0 : 0.0, found[2 * v + allele]);
                } else {
                    expect_near(sums[allele], found[2 * v + allele]);
                }
            }
        }
    }
}

TEST(kernel_levels, weigh_alleles_of_no_weight) {
    const std::uint64_t none = 0;
    alignas(64) const double values[16] = {};
    const kernels::state_weight w{1.0, 0.0, 0.0, 0.0};
    for (const double all : {0.0, 1e-310, std::numeric_limits<double>::quiet_NaN()}) {
        same_at_all_levels([&](const kernels::table& t) {
            double by_allele[1][2];
            t.weigh_alleles(3, 1, &none, values, values, values, {all, 0.0, 0.0}, &w, by_allele);
            EXPECT_EQ(0.0, by_allele[0][1]);
            EXPECT_FALSE(by_allele[0][0] > 1e-300);
            return std::vector<double>{};
        });
    }
}

TEST(kernel_levels, multiply_sum_and_divide) {
    for_all_sizes(4, [](kernel_inputs& in) {
        const auto found = same_at_all_levels([&](const kernels::table& t) {
            aligned_buffer products(haploid_padded(in.K));
            std::vector<double> all{t.multiply(in.K, in.f.data(), in.c.data(), products.data()),
                                    t.sum_of(in.K, in.f.data())};
            append(all, products, in.K);
            aligned_buffer values = in.f;
            t.divide(in.K, in.m0, values.data());
            append(all, values, in.K);
            return all;
        });
        double sum_of_products = 0.0, sum = 0.0;
        for (std::size_t k = 0; k < in.K; ++k) {
            sum_of_products += in.f[k] * in.c[k];
            sum += in.f[k];
            EXPECT_EQ(in.f[k] * in.c[k], found[2 + k]);
            EXPECT_EQ(in.f[k] / in.m0, found[2 + in.K + k]);
        }
        expect_near(sum_of_products, found[0]);
        expect_near(sum, found[1]);
    });
}

// One forward step of the triangle in place, as the recursion reads. Fills row, which has each pair in both its rows.
// Returns the sum of the table.
double plain_forward(const kernel_inputs& in, aligned_buffer& f, const double* g, double stay, double c,
                     const std::uint64_t* alleles, const double* e, std::vector<double>& row) {
    row.assign(in.K, 0.0);
    double sum = 0.0;
    for (std::size_t a = 0; a < in.K; ++a) {
        for (std::size_t b = 0; b <= a; ++b) {
            const double stayed = stay * f[in.in_triangle(a, b)];
            double w = stayed + g[a] + g[b] + c;
            if (a == b) w = (stayed + w) * 0.5;
            const std::size_t n_ones = (bits::get(alleles, a) ? 1U : 0U) + (bits::get(alleles, b) ? 1U : 0U);
            const double v = w * e[n_ones];
            f[in.in_triangle(a, b)] = v;
            row[a] += v;
            row[b] += v;
            sum += v;
        }
    }
    return sum;
}

TEST(kernel_levels, diploid_forward) {
    for_all_sizes(5, [](kernel_inputs& in) {
        const std::size_t size = kernels::triangle_size(in.K), p = padded(in.K);
        const auto step = [&](const kernels::table& t, const aligned_buffer& from, aligned_buffer& out) {
            aligned_buffer row(p), row_sums(p), emission_rows(2 * p);
            std::vector<double> all{t.diploid_forward(in.K, from.data(), in.g.data(), in.alpha, in.beta, in.bits.data(),
                                                      in.e.data(), emission_rows.data(), out.data(), row.data(),
                                                      row_sums.data())};
            append(all, out, size);
            append(all, row, in.K);
            append(all, row_sums, in.K);
            return all;
        };
        const auto found = same_at_all_levels([&](const kernels::table& t) {
            aligned_buffer out(size);
            return step(t, in.triangle_f, out);
        });
        const auto in_place = same_at_all_levels([&](const kernels::table& t) {
            aligned_buffer table = in.triangle_f;
            return step(t, table, table);
        });
        EXPECT_EQ(found, in_place);
        aligned_buffer table = in.triangle_f;
        std::vector<double> row;
        expect_near(plain_forward(in, table, in.g.data(), in.alpha, in.beta, in.bits.data(), in.e.data(), row),
                    found[0]);
        for (std::size_t a = 0; a < in.K; ++a) {
            double in_triangle_row = 0.0;
            for (std::size_t b = 0; b <= a; ++b) {
                expect_near(table[in.in_triangle(a, b)], found[1 + in.in_triangle(a, b)]);
                in_triangle_row += table[in.in_triangle(a, b)];
            }
            expect_near(in_triangle_row, found[1 + size + in.K + a]);
            for (std::size_t b = a + 1; b < padded(a + 1); ++b) EXPECT_EQ(0.0, found[1 + in.in_triangle(a, b)]);
            expect_near(row[a], found[1 + size + a]);
        }
    });
}

TEST(kernel_levels, diploid_forward_row_has_the_entries_of_the_table) {
    for_all_sizes(14, [](kernel_inputs& in) {
        const std::size_t p = padded(in.K);
        aligned_buffer row(p), row_sums(p), emission_rows(2 * p), table(kernels::triangle_size(in.K));
        const auto entry = [&in](const aligned_buffer& f, std::size_t a, std::size_t b) {
            return f[in.in_triangle(std::max(a, b), std::min(a, b))];
        };
        kernels::active().diploid_forward(in.K, in.triangle_f.data(), in.g.data(), in.alpha, in.beta, in.bits.data(),
                                          in.e.data(), emission_rows.data(), table.data(), row.data(), row_sums.data());
        for (std::size_t a = 0; a < in.K; a += in.K / 4 + 1) {
            const auto found = same_at_all_levels([&](const kernels::table& t) {
                aligned_buffer values(p);
                for (std::size_t b = 0; b < in.K; ++b) values[b] = entry(in.triangle_f, a, b);
                t.diploid_forward_row(in.K, a, values.data(), in.g.data(), in.alpha, in.beta, in.bits.data(),
                                      in.e.data(), values.data());
                std::vector<double> all;
                append(all, values, in.K);
                return all;
            });
            for (std::size_t b = 0; b < in.K; ++b) expect_near(entry(table, a, b), found[b]);
        }
    });
}

// --- steps by classes of states -------------------------------------------------------------------------------------

// All terms of these steps are positive: what is small must be right too.
void expect_close(double expected, double found) {
    if (!(std::abs(expected - found) <= 1e-13 * expected)) {
        ADD_FAILURE() << expected << " expected, " << found << " found";
    }
}

// What leads into a site where the states of a class have one allele.
struct site_of_classes {
    double stay = 0.0, constant = 0.0;
    aligned_buffer shared;
    std::vector<double> class_shared;
    std::vector<std::uint64_t> alleles, class_alleles;
    std::array<double, 3> e{};

    kernels::class_site view() const {
        return {stay, constant, shared.data(), class_shared.data(), alleles.data(), class_alleles.data(), e.data()};
    }
};

// Classes of the states of a kernel_inputs, none of them empty, and a few sites.
struct class_inputs {
    class_inputs(input_source& source, const kernel_inputs& in, std::size_t n)
        : K(in.K), n_classes(n), of_state(in.K), size(n, 0.0) {
        for (std::size_t k = 0; k < K; ++k) {
            of_state[k] = static_cast<std::uint32_t>(k < n ? k : static_cast<std::size_t>(source.integer(0, 1000)) % n);
        }
        for (std::size_t k = K; k > 1; --k) {
            std::swap(of_state[k - 1], of_state[static_cast<std::size_t>(source.integer(0, 1000)) % k]);
        }
        for (const std::uint32_t c : of_state) size[c] += 1.0;
        for (int i = 0; i < 5; ++i) sites.push_back(random_site(source));
    }

    std::size_t K, n_classes;
    std::vector<std::uint32_t> of_state;
    std::vector<double> size;
    std::vector<site_of_classes> sites;

  private:
    static double value(input_source& source) { return source.uniform() * std::pow(10.0, -source.integer(0, 12)); }
    site_of_classes random_site(input_source& source) const {
        site_of_classes s;
        s.stay = source.uniform(0.2, 1.0);
        s.constant = value(source);
        s.shared.assign(padded(K), 0.0);
        s.class_shared.assign(n_classes, 0.0);
        s.alleles.assign(bits::words_for(K), 0);
        s.class_alleles.assign(bits::words_for(n_classes), 0);
        for (std::size_t c = 0; c < n_classes; ++c) bits::set(s.class_alleles.data(), c, source.chance(0.5));
        for (std::size_t k = 0; k < K; ++k) {
            s.shared[k] = value(source);
            s.class_shared[of_state[k]] += s.shared[k];
            bits::set(s.alleles.data(), k, bits::get(s.class_alleles.data(), of_state[k]));
        }
        for (double& e : s.e) e = value(source);
        return s;
    }
};

// The storage of the kernels, full of what must not be read.
struct class_storage {
    explicit class_storage(const class_inputs& c)
        : classes(c),
          parts(c.n_classes * padded(c.K) * 2, stale),
          factor(c.n_classes * padded(c.n_classes), stale),
          scratch(std::max<std::size_t>(c.n_classes, 6) * padded(c.K), stale),
          class_row(c.n_classes, stale),
          row(padded(c.K), stale) {}

    kernels::pair_classes view() {
        return {classes.K,    classes.n_classes, classes.of_state.data(), classes.size.data(),
                parts.data(), factor.data(),     scratch.data()};
    }
    void start(const kernels::table& t, const aligned_buffer& f) {
        t.pairs_to_classes(view(), f.data(), class_row.data());
    }
    void step(const kernels::table& t, const site_of_classes& site) {
        t.class_step(view(), site.view(), row.data(), class_row.data());
    }

    static constexpr double stale = std::numeric_limits<double>::quiet_NaN();
    const class_inputs& classes;
    aligned_buffer parts, factor, scratch;
    std::vector<double> class_row;
    aligned_buffer row;
};

// Of all states with all classes the sums over the pairs of a table, [class][padded K]; that of one state twice.
std::vector<double> plain_class_sums(const kernel_inputs& in, const class_inputs& classes, const aligned_buffer& f) {
    const std::size_t stride = padded(in.K);
    std::vector<double> sums(classes.n_classes * stride, 0.0);
    for (std::size_t a = 0; a < in.K; ++a) {
        for (std::size_t b = 0; b <= a; ++b) {
            sums[classes.of_state[b] * stride + a] += f[in.in_triangle(a, b)];
            sums[classes.of_state[a] * stride + b] += f[in.in_triangle(a, b)];
        }
    }
    return sums;
}

// found has the sums of the rows of each class, and then the parts.
void expect_class_sums(const kernel_inputs& in, const class_inputs& classes, const aligned_buffer& f,
                       const double* found) {
    const std::size_t stride = padded(in.K);
    const std::vector<double> sums = plain_class_sums(in, classes, f);
    for (std::size_t c = 0; c < classes.n_classes; ++c) {
        double in_class = 0.0;
        for (std::size_t k = 0; k < stride; ++k) {
            const double in_part =
                found[classes.n_classes + (c * stride + k / kernels::lane_count * kernels::lane_count) * 2 +
                      k % kernels::lane_count];
            if (k < in.K) {
                expect_close(sums[c * stride + k], in_part);
            } else {
                EXPECT_EQ(0.0, in_part) << "past the last state";
            }
            in_class += sums[c * stride + k];
        }
        expect_close(in_class, found[c]);
    }
}

void for_all_classes(std::uint64_t seed, const std::function<void(const kernel_inputs&, const class_inputs&)>& check) {
    input_source source(seed);
    for (const std::size_t K : state_counts) {
        const kernel_inputs in(source, K);
        for (const std::size_t n : std::set<std::size_t>{1, 2, 3, 8, 9, K / 4, K / 2 + 1, 64, 65, 66, K}) {
            if (n < 1 || n > K) continue;
            SCOPED_TRACE("K " + std::to_string(K) + " classes " + std::to_string(n));
            check(in, class_inputs(source, in, n));
        }
    }
}

TEST(kernel_levels, pairs_to_classes) {
    for_all_classes(15, [](const kernel_inputs& in, const class_inputs& classes) {
        const std::size_t n = classes.n_classes, stride = padded(in.K), n_parts = n * stride * 2;
        const auto found = same_at_all_levels([&](const kernels::table& t) {
            class_storage s(classes);
            s.start(t, in.triangle_f);
            std::vector<double> all = s.class_row;
            append(all, s.parts, n_parts);
            append(all, s.factor, n * padded(n));
            return all;
        });
        expect_class_sums(in, classes, in.triangle_f, found.data());
        for (std::size_t i = 0; i < n_parts; ++i) {
            if (i / kernels::lane_count % 2 == 1) {
                EXPECT_EQ(0.0, found[n + i]) << "something arrived";
            }
        }
        for (std::size_t a = 0; a < n; ++a) {
            for (std::size_t b = 0; b < n; ++b) EXPECT_EQ(1.0, found[n + n_parts + a * padded(n) + b]);
        }
    });
}

TEST(kernel_levels, class_step) {
    for_all_classes(16, [](const kernel_inputs& in, const class_inputs& classes) {
        const std::size_t n = classes.n_classes, stride = padded(in.K), n_parts = n * stride * 2;
        const auto found = same_at_all_levels([&](const kernels::table& t) {
            class_storage s(classes);
            s.start(t, in.triangle_f);
            std::vector<double> all;
            for (const site_of_classes& site : classes.sites) {
                s.step(t, site);
                all.insert(all.end(), s.class_row.begin(), s.class_row.end());
                append(all, s.parts, n_parts);
                append(all, s.row, stride);
            }
            return all;
        });
        aligned_buffer table = in.triangle_f;
        std::vector<double> row;
        const double* here = found.data();
        for (const site_of_classes& site : classes.sites) {
            plain_forward(in, table, site.shared.data(), site.stay, site.constant, site.alleles.data(), site.e.data(),
                          row);
            expect_class_sums(in, classes, table, here);
            here += n + n_parts;
            for (std::size_t k = 0; k < in.K; ++k) expect_close(row[k], here[k]);
            for (std::size_t k = in.K; k < stride; ++k) EXPECT_EQ(0.0, here[k]);
            here += stride;
        }
    });
}

TEST(kernel_levels, classes_to_pairs) {
    for_all_classes(17, [](const kernel_inputs& in, const class_inputs& classes) {
        const std::size_t size = kernels::triangle_size(in.K);
        aligned_buffer table = in.triangle_f, by_kernel = in.triangle_f;
        aligned_buffer row_of_kernel(padded(in.K)), row_sums_of_kernel(padded(in.K)), emission_rows(2 * padded(in.K));
        std::vector<double> row;
        for (std::size_t n_steps = 0; n_steps <= classes.sites.size(); ++n_steps) {
            const auto found = same_at_all_levels([&](const kernels::table& t) {
                class_storage s(classes);
                s.start(t, in.triangle_f);
                for (std::size_t i = 0; i < n_steps; ++i) s.step(t, classes.sites[i]);
                aligned_buffer out(size, 5.0), in_place = in.triangle_f;
                t.classes_to_pairs(s.view(), in.triangle_f.data(), out.data());
                t.classes_to_pairs(s.view(), in_place.data(), in_place.data());
                EXPECT_EQ(out, in_place);
                std::vector<double> all;
                append(all, out, size);
                return all;
            });
            if (n_steps > 0) {
                const site_of_classes& site = classes.sites[n_steps - 1];
                plain_forward(in, table, site.shared.data(), site.stay, site.constant, site.alleles.data(),
                              site.e.data(), row);
                kernels::active().diploid_forward(in.K, by_kernel.data(), site.shared.data(), site.stay, site.constant,
                                                  site.alleles.data(), site.e.data(), emission_rows.data(),
                                                  by_kernel.data(), row_of_kernel.data(), row_sums_of_kernel.data());
            }
            for (std::size_t a = 0; a < in.K; ++a) {
                for (std::size_t b = 0; b < padded(a + 1); ++b) {
                    const std::size_t i = in.in_triangle(a, b);
                    if (b > a || n_steps == 0) {
                        EXPECT_EQ(table[i], found[i]);
                    } else {
                        expect_close(table[i], found[i]);
                        expect_close(by_kernel[i], found[i]);
                    }
                }
            }
        }
    });
}

TEST(kernel_levels, diploid_backward) {
    for_all_sizes(6, [](kernel_inputs& in) {
        const std::size_t size = kernels::triangle_size(in.K);
        const auto found = same_at_all_levels([&](const kernels::table& t) {
            aligned_buffer b = in.triangle_b, row(padded(in.K));
            std::vector<double> all{t.diploid_backward_emit(in.K, in.bits.data(), in.e.data(), b.data(), row.data())};
            append(all, b, size);
            append(all, row, in.K);
            t.diploid_backward_move(in.K, in.g.data(), in.alpha, in.beta, b.data());
            append(all, b, size);
            return all;
        });
        std::vector<double> row(in.K, 0.0);
        double total = 0.0;
        for (std::size_t a = 0; a < in.K; ++a) {
            for (std::size_t b = 0; b <= a; ++b) {
                const std::size_t i = in.in_triangle(a, b);
                const double v = in.triangle_b[i] * in.e[static_cast<std::size_t>(in.allele(a) + in.allele(b))];
                expect_near(v, found[1 + i]);
                row[a] += v;
                if (a != b) row[b] += v;
                total += a == b ? v : 2.0 * v;
                expect_near(in.beta + in.g[a] + in.g[b] + in.alpha * v, found[1 + size + in.K + i]);
            }
            for (std::size_t b = a + 1; b < padded(a + 1); ++b) {
                EXPECT_EQ(0.0, found[1 + size + in.K + in.in_triangle(a, b)]);
            }
        }
        for (std::size_t a = 0; a < in.K; ++a) expect_near(row[a], found[1 + size + a]);
        expect_near(total, found[0]);
    });
}

TEST(kernel_levels, diploid_class_sums) {
    for_all_sizes(7, [](kernel_inputs& in) {
        const auto found = same_at_all_levels([&](const kernels::table& t) {
            std::vector<double> sums(3, -1.0);
            t.diploid_class_sums(in.K, in.triangle_f.data(), in.triangle_b.data(), in.bits.data(), sums.data());
            return sums;
        });
        std::array<double, 3> sums{};
        for (std::size_t a = 0; a < in.K; ++a) {
            for (std::size_t b = 0; b <= a; ++b) {
                const std::size_t i = in.in_triangle(a, b);
                sums[static_cast<std::size_t>(in.allele(a) + in.allele(b))] += in.triangle_f[i] * in.triangle_b[i];
            }
        }
        for (std::size_t g = 0; g < 3; ++g) expect_near(sums[g], found[g]);
    });
}

TEST(kernel_levels, ordered_forward) {
    for_all_sizes(8, [](kernel_inputs& in) {
        const std::size_t size = in.K * padded(in.K);
        const auto found = same_at_all_levels([&](const kernels::table& t) {
            aligned_buffer out(size), row(padded(in.K));
            std::vector<double> all{t.ordered_forward(in.K, in.square_f.data(), in.g.data(), in.alpha, in.beta,
                                                      in.bits.data(), in.e.data(), out.data(), row.data())};
            append(all, out, size);
            append(all, row, in.K);
            return all;
        });
        std::vector<double> row(in.K, 0.0);
        double sum = 0.0;
        for (std::size_t a = 0; a < in.K; ++a) {
            for (std::size_t b = 0; b < in.K; ++b) {
                const std::size_t i = in.in_square(a, b);
                const double v = (in.beta + in.g[a] + in.g[b] + in.alpha * in.square_f[i]) *
                                 in.e[static_cast<std::size_t>(in.allele(a) * 2 + in.allele(b))];
                expect_near(v, found[1 + i]);
                row[a] += v;
                row[b] += v;
                sum += v;
            }
            for (std::size_t b = in.K; b < padded(in.K); ++b) EXPECT_EQ(0.0, found[1 + in.in_square(a, b)]);
        }
        for (std::size_t a = 0; a < in.K; ++a) expect_near(row[a], found[1 + size + a]);
        expect_near(sum, found[0]);
    });
}

TEST(kernel_levels, ordered_backward) {
    for_all_sizes(9, [](kernel_inputs& in) {
        const std::size_t size = in.K * padded(in.K);
        const auto found = same_at_all_levels([&](const kernels::table& t) {
            aligned_buffer b = in.square_b, row(padded(in.K));
            std::vector<double> all{t.ordered_backward_emit(in.K, in.bits.data(), in.e.data(), b.data(), row.data())};
            append(all, b, size);
            append(all, row, in.K);
            t.ordered_backward_move(in.K, in.g.data(), in.alpha, in.beta, b.data());
            append(all, b, size);
            return all;
        });
        std::vector<double> row(in.K, 0.0);
        double total = 0.0;
        for (std::size_t a = 0; a < in.K; ++a) {
            for (std::size_t b = 0; b < in.K; ++b) {
                const std::size_t i = in.in_square(a, b);
                const double v = in.square_b[i] * in.e[static_cast<std::size_t>(in.allele(a) * 2 + in.allele(b))];
                expect_near(v, found[1 + i]);
                row[a] += v;
                row[b] += v;
                total += v;
                expect_near(in.beta + in.g[a] + in.g[b] + in.alpha * v, found[1 + size + in.K + i]);
            }
            for (std::size_t b = in.K; b < padded(in.K); ++b) {
                EXPECT_EQ(0.0, found[1 + size + in.K + in.in_square(a, b)]);
            }
        }
        for (std::size_t a = 0; a < in.K; ++a) expect_near(row[a], found[1 + size + a]);
        expect_near(total, found[0]);
    });
}

TEST(kernel_levels, ordered_class_sums) {
    for_all_sizes(10, [](kernel_inputs& in) {
        const auto found = same_at_all_levels([&](const kernels::table& t) {
            std::vector<double> sums(4, -1.0);
            t.ordered_class_sums(in.K, in.square_f.data(), in.square_b.data(), in.bits.data(), sums.data());
            return sums;
        });
        std::array<double, 4> sums{};
        for (std::size_t a = 0; a < in.K; ++a) {
            for (std::size_t b = 0; b < in.K; ++b) {
                const std::size_t i = in.in_square(a, b);
                sums[static_cast<std::size_t>(in.allele(a) * 2 + in.allele(b))] += in.square_f[i] * in.square_b[i];
            }
        }
        for (std::size_t i = 0; i < 4; ++i) expect_near(sums[i], found[i]);
    });
}

TEST(kernel_levels, distances) {
    input_source source(11);
    for (const std::size_t n_words : {0U, 1U, 2U, 3U, 7U, 8U, 9U, 17U}) {
        constexpr std::size_t n_rows = 13;
        std::vector<std::uint64_t> x(n_words), rows(n_rows * n_words);
        for (auto& word : x) word = source.word();
        for (auto& word : rows) word = source.word();
        if (n_words > 0) std::copy(x.begin(), x.end(), rows.begin());
        const auto found = same_at_all_levels([&](const kernels::table& t) {
            std::vector<int> counts(n_rows, -1);
            t.distances(n_words, x.data(), n_rows, rows.data(), counts.data());
            return std::vector<double>(counts.begin(), counts.end());
        });
        for (std::size_t r = 0; r < n_rows; ++r) {
            int n = 0;
            for (std::size_t w = 0; w < n_words; ++w) n += std::popcount(x[w] ^ rows[r * n_words + w]);
            EXPECT_EQ(n, found[r]);
        }
    }
}

TEST(kernel_levels, sort_by_allele) {
    input_source source(14);
    for (const std::size_t n : {0U, 1U, 7U, 31U, 32U, 33U, 64U, 200U}) {
        for (const unsigned bit : {0U, 13U, 31U}) {
            std::vector<kernels::sorted_haplotype> haps(n), zeros, ones;
            for (std::size_t h = 0; h < n; ++h) {
                haps[h] = {static_cast<std::uint32_t>(source.index(n)), static_cast<std::uint32_t>(source.word())};
            }
            std::vector<double> expected;  // haplotypes, their alleles; the alleles before, the ones before
            for (std::size_t first = 0; first <= n; first += 32) {
                std::uint32_t word = 0;
                expected.push_back(static_cast<double>(ones.size()));
                for (std::size_t h = first; h < std::min(n, first + 32); ++h) {
                    const bool one = ((haps[h].alleles >> bit) & 1U) != 0;
                    (one ? ones : zeros).push_back(haps[h]);
                    word |= std::uint32_t{one ? 1U : 0U} << (h - first);
                }
                expected.push_back(word);
            }
            zeros.insert(zeros.end(), ones.begin(), ones.end());
            for (const auto& hap : zeros) expected.insert(expected.end(), {double(hap.hap), double(hap.alleles)});
            const auto found = same_at_all_levels([&](const kernels::table& t) {
                std::vector<kernels::sorted_haplotype> sorted = haps, scratch(n + 8);
                std::vector<kernels::ranked_alleles> ranked(n / 32 + 1);
                t.sort_by_allele(n, bit, sorted.data(), scratch.data(), ranked.data());
                std::vector<double> values;
                for (const auto& word : ranked)
                    values.insert(values.end(), {double(word.ones_before), double(word.ones)});
                for (const auto& hap : sorted) values.insert(values.end(), {double(hap.hap), double(hap.alleles)});
                return values;
            });
            EXPECT_EQ(expected, found) << n << " haplotypes, bit " << bit;
        }
    }
}

TEST(kernel_levels, pass_ranked) {
    input_source source(15);
    for (const std::size_t n_hap : {0U, 1U, 31U, 32U, 33U, 64U, 200U}) {
        std::vector<bool> one(n_hap);
        std::vector<kernels::ranked_alleles> ranked(n_hap / 32 + 1);
        for (std::size_t h = 0; h < n_hap; ++h) {
            one[h] = source.chance(0.3);
            if (one[h]) ranked[h / 32].ones |= std::uint32_t{1} << (h % 32);
        }
        const auto n_ones = [&](std::size_t end) {
            return std::count(one.begin(), one.begin() + static_cast<std::ptrdiff_t>(end), true);
        };
        for (std::size_t w = 0; w < ranked.size(); ++w)
            ranked[w].ones_before = static_cast<std::uint32_t>(n_ones(w * 32));
        for (const std::size_t n : {1U, 16U, 20U, 64U}) {
            const std::uint64_t alleles = n < 64 ? source.word() & ((std::uint64_t{1} << n) - 1) : source.word();
            std::vector<std::uint64_t> places(64, 0);
            std::vector<double> expected(n);
            for (std::size_t t = 0; t < n; ++t) {
                const std::size_t place = t == 0 ? n_hap : source.index(n_hap + 1);
                places[t] = place;
                const auto ones = n_ones(place), zeros = static_cast<std::ptrdiff_t>(place) - ones;
                const bool has_one = ((alleles >> t) & 1U) != 0;
                expected[t] =
                    static_cast<double>(has_one ? static_cast<std::ptrdiff_t>(n_hap) - n_ones(n_hap) + ones : zeros);
            }
            const auto found = same_at_all_levels([&](const kernels::table& t) {
                std::vector<std::uint64_t> passed = places;
                t.pass_ranked(n_hap, ranked.data(), alleles, n, passed.data());
                return std::vector<double>(passed.begin(), passed.begin() + static_cast<std::ptrdiff_t>(n));
            });
            EXPECT_EQ(expected, found) << n_hap << " haplotypes, " << n << " targets";
        }
    }
}

TEST(kernel_levels, transpose) {
    input_source source(12);
    std::array<std::uint64_t, 64> block{};
    for (auto& word : block) word = source.word();
    for (const auto l : levels()) {
        auto turned = block;
        kernels::at(l).transpose(turned.data(), turned.data());
        for (std::size_t i = 0; i < 64; ++i) {
            for (std::size_t j = 0; j < 64; ++j) {
                ASSERT_EQ((block[i] >> j) & 1U, (turned[j] >> i) & 1U) << "level " << static_cast<int>(l);
            }
        }
    }
}

TEST(kernel_levels, transpose_words) {
    input_source source(13);
    std::array<std::array<std::uint64_t, 9>, 8> rows{};
    std::array<const std::uint64_t*, 8> from{};
    for (std::size_t i = 0; i < 8; ++i) {
        for (auto& word : rows[i]) word = source.word();
        from[i] = rows[i].data() + i % 2;
    }
    for (const auto l : levels()) {
        for (const std::size_t stride : {8U, 11U}) {
            std::vector<std::uint64_t> turned(8 * stride, 5);
            kernels::at(l).transpose_words(from.data(), turned.data(), stride);
            for (std::size_t j = 0; j < 8; ++j) {
                for (std::size_t i = 0; i < stride; ++i) {
                    ASSERT_EQ(i < 8 ? from[i][j] : 5, turned[j * stride + i]) << "level " << static_cast<int>(l);
                }
            }
        }
    }
}

}  // namespace
