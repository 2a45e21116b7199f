// The kernels, in a namespace that the including file names by KERNEL_LEVEL. Nothing of the standard library is used
// here: an inline function compiled for one instruction set must not be shared with the others.

#if defined(__AVX512F__)
#include <immintrin.h>
#endif

#include "inference/kernels/kernels.h"

namespace kernels::KERNEL_LEVEL {

namespace {

using std::size_t;
using std::uint64_t;

#include "inference/kernels/lanes.h"

// The vectors of one haplotype's model go in sixteens: two blocks side by side with sums of their own, so that one
// addition need not wait for the one before.
constexpr size_t n_partial = 2 * width;

// Which lanes of the sixteen from state k on are states.
struct state_lanes {
    mask even, odd;
    KERNEL_INLINE state_lanes(size_t K, size_t k)
        : even(first_lanes(K - k < width ? K - k : width)), odd(first_lanes(K - k > width ? K - k - width : 0)) {}
};

// (f alpha + beta) m over blocks of eight states, m being m1 for the states of the set bits, else m0. The larger of
// both is part of alpha and beta.
struct haploid_step {
    lanes a, b, ratio;
    unsigned flip;
    const uint64_t* bits;
    const double* f;

    KERNEL_INLINE haploid_step(const double* from, double alpha, double beta, const uint64_t* alleles, double m0,
                               double m1)
        : bits(alleles), f(from) {
        const double larger = m1 > m0 ? m1 : m0, smaller = m1 > m0 ? m0 : m1;
        a = spread(alpha * larger);
        b = spread(beta * larger);
        ratio = spread(larger > 0.0 ? smaller / larger : 1.0);
        flip = m1 > m0 ? 0xffU : 0U;
    }
    KERNEL_INLINE lanes operator()(size_t k) const {
        return multiply_some(load(f + k) * a + b, lane_mask(byte_at(bits, k) ^ flip), ratio);
    }
};

double haploid_forward(size_t K, const double* f, double alpha, double beta, const uint64_t* bits, double m0, double m1,
                       double* out) {
    const haploid_step step(f, alpha, beta, bits, m0, m1);
    lanes even = spread(0.0), odd = spread(0.0);
    size_t k = 0;
    for (; k + n_partial <= K; k += n_partial) {
        const lanes v = step(k), w = step(k + width);
        store(out + k, v);
        store(out + k + width, w);
        even = even + v;
        odd = odd + w;
    }
    if (k < K) {
        const state_lanes in(K, k);
        const lanes v = keep(in.even, step(k));
        const lanes w = K - k > width ? keep(in.odd, step(k + width)) : spread(0.0);
        store(out + k, v);
        store(out + k + width, w);
        even = even + v;
        odd = odd + w;
    }
    return total(even + odd);
}

backward_sums haploid_backward(size_t K, const double* c, double alpha, double beta, const double* f,
                               const uint64_t* bits, double m0, double m1, double* out) {
    const lanes a = spread(alpha), b = spread(beta), e0 = spread(m0), e1 = spread(m1);
    lanes sum = spread(0.0), with_zero = spread(0.0), with_one = spread(0.0);
    size_t k = 0;
    for (; k < K; k += width) {
        const mask carriers = mask_at(bits, k);
        lanes value = load(c + k) * a + b;
        if (k + width > K) value = keep(first_lanes(K - k), value);
        const lanes posterior = load(f + k) * value;
        with_zero = add_kept(with_zero, inverse(carriers), posterior);
        with_one = add_kept(with_one, carriers, posterior);
        value = value * select(carriers, e1, e0);
        store(out + k, value);
        sum = sum + value;
    }
    if (k % n_partial != 0) store(out + k, spread(0.0));
    return {total(sum), {total(with_zero), total(with_one)}};
}

double multiply(size_t K, const double* f, const double* c, double* products) {
    lanes even = spread(0.0), odd = spread(0.0);
    for (size_t k = 0; k < K; k += n_partial) {
        const lanes v = load(f + k) * load(c + k), w = load(f + k + width) * load(c + k + width);
        store(products + k, v);
        store(products + k + width, w);
        even = even + v;
        odd = odd + w;
    }
    return total(even + odd);
}

// Keeps addresses in a register each: an address of two parts makes what reads from there one step more.
KERNEL_INLINE void pin(const double*& p, const double*& q, const double*& r) {
    asm("" : "+r"(p), "+r"(q), "+r"(r));
}

// Bit i is set where byte i of the word has a bit set.
KERNEL_INLINE uint64_t set_bytes(uint64_t word) {
    constexpr uint64_t low_bits = 0x7f7f7f7f7f7f7f7fULL;
    const uint64_t top = (((word & low_bits) + low_bits) | word) & ~low_bits;
    return ((top >> 7) * 0x0102040810204080ULL) >> 56;
}

// A sum over some states as sixteen partial sums, state k belonging to that of k mod 16.
struct partial_sums {
    lanes even, odd;
};

// Sums over the states of the set bits of a row, or with flip of the clear ones. States past K have values of zero.
struct carrier_step {
    size_t K;
    const double* f;
    const double* c;
    const double* products;

    struct running_sums {
        partial_sums product{spread(0.0), spread(0.0)}, forward = product, backward = product;
    };

    KERNEL_INLINE void add(size_t k, unsigned in_even, unsigned in_odd, running_sums& to) const {
        const double* p = products + k;
        const double* q = f + k;
        const double* r = c + k;
        pin(p, q, r);
        const mask even = lane_mask(in_even), odd = lane_mask(in_odd);
        to.product.even = add_kept(to.product.even, even, load(p));
        to.forward.even = add_kept(to.forward.even, even, load(q));
        to.backward.even = add_kept(to.backward.even, even, load(r));
        to.product.odd = add_kept(to.product.odd, odd, load(p + width));
        to.forward.odd = add_kept(to.forward.odd, odd, load(q + width));
        to.backward.odd = add_kept(to.backward.odd, odd, load(r + width));
    }

#if KERNEL_PART == 8
    // Sixteens without carriers are passed over.
    template <bool flip>
    KERNEL_INLINE void add_present(const uint64_t* bits, running_sums& to) const {
        constexpr size_t at_once = 32;  // sixteens in 512 bits
        const size_t n_units = (K + n_partial - 1) / n_partial;
        for (size_t first = 0; first < n_units; first += at_once) {
            const size_t here = n_units - first < at_once ? n_units - first : at_once;
            const auto in_reach = static_cast<__mmask32>((uint64_t{1} << here) - 1);
            const auto* bytes = reinterpret_cast<const unsigned char*>(bits) + first * 2;
            const __m512i words = _mm512_maskz_loadu_epi16(in_reach, bytes);
            uint64_t left = flip ? _mm512_mask_cmpneq_epi16_mask(in_reach, words, _mm512_set1_epi16(-1))
                                 : _mm512_test_epi16_mask(words, words);
            for (; left != 0; left &= left - 1) {
                const auto unit = static_cast<size_t>(__builtin_ctzll(left));
                const unsigned even = bytes[2 * unit], odd = bytes[2 * unit + 1];
                add((first + unit) * n_partial, flip ? ~even & 0xffU : even, flip ? ~odd & 0xffU : odd, to);
            }
        }
    }
    KERNEL_INLINE void add_all(const uint64_t* bits, uint64_t flip, running_sums& to) const {
        if (flip == 0) {
            add_present<false>(bits, to);
        } else {
            add_present<true>(bits, to);
        }
    }
#else
    // Eights without carriers are passed over. The even eights come first, since there are not registers enough for
    // both.
    KERNEL_INLINE void add_all(const uint64_t* bits, uint64_t flip, running_sums& to) const {
        constexpr uint64_t even_eights = 0x5555555555555555ULL;
        for (size_t first = 0; first < K; first += 512) {
            uint64_t present = 0;
            for (size_t w = 0; w < 8 && first + w * 64 < K; ++w)
                present |= set_bytes(bits[first / 64 + w] ^ flip) << (8 * w);
            if (first + 512 > K) present &= ~uint64_t{0} >> (63 - (K - 1 - first) / width);
            add_eights(first, present & even_eights, bits, flip, to.product.even, to.forward.even, to.backward.even);
            add_eights(first, present & ~even_eights, bits, flip, to.product.odd, to.forward.odd, to.backward.odd);
        }
    }
    KERNEL_INLINE void add_eights(size_t first, uint64_t eights, const uint64_t* bits, uint64_t flip, lanes& product,
                                  lanes& forward, lanes& backward) const {
        lanes in_p = product, in_f = forward, in_c = backward;
        for (; eights != 0; eights &= eights - 1) {
            const size_t k = first + static_cast<size_t>(__builtin_ctzll(eights)) * width;
            const mask in = lane_mask((byte_at(bits, k) ^ static_cast<unsigned>(flip)) & 0xffU);
            const double* p = products + k;
            const double* q = f + k;
            const double* r = c + k;
            pin(p, q, r);
            in_p = add_kept(in_p, in, load(p));
            in_f = add_kept(in_f, in, load(q));
            in_c = add_kept(in_c, in, load(r));
        }
        product = in_p;
        forward = in_f;
        backward = in_c;
    }
#endif
};

void weigh_alleles(size_t K, size_t n_sites, const uint64_t* bits, const double* f, const double* c,
                   const double* products, const state_weight* weights, double all, double (*by_allele)[2]) {
    const carrier_step step{K, f, c, products};
    const size_t words = (K + 63) / 64;
    for (size_t i = 0; i < n_sites; ++i, bits += words) {
        size_t n_ones = 0;
#pragma GCC unroll 8
        for (size_t w = 0; w < words; ++w) n_ones += static_cast<size_t>(__builtin_popcountll(bits[w]));
        const size_t rarer = 2 * n_ones <= K ? 1 : 0;
        const size_t n = rarer == 1 ? n_ones : K - n_ones;
        if (n == 0) {
            by_allele[i][rarer] = 0.0;
            by_allele[i][1 - rarer] = all > 0.0 ? 1.0 : all;
            continue;
        }
        carrier_step::running_sums sums;
        step.add_all(bits, rarer == 1 ? 0 : ~uint64_t{0}, sums);
        const state_weight& w = weights[i];
        const lanes lane_sums = (sums.product.even + sums.product.odd) * spread(w.product) +
                                ((sums.forward.even + sums.forward.odd) * spread(w.forward) +
                                 (sums.backward.even + sums.backward.odd) * spread(w.backward));
        const double carried = total(lane_sums) + static_cast<double>(n) * w.each;
        by_allele[i][rarer] = carried;
        by_allele[i][1 - rarer] = all - carried;
    }
}

void divide(size_t n, double divisor, double* values) {
    for (size_t i = 0; i < n; ++i) values[i] /= divisor;
}

double sum_of(size_t n, const double* values) {
    lanes sum = spread(0.0);
    for (size_t k = 0; k < n; k += width) sum = sum + load(values + k);
    return total(sum);
}

KERNEL_INLINE size_t bit_of(const uint64_t* bits, size_t k) {
    return static_cast<size_t>((bits[k / 64] >> (k % 64)) & 1U);
}

// Emissions of row a, by the allele of the other state: set bit, clear bit.
struct row_emission {
    lanes with_one;
    lanes with_zero;
};
KERNEL_INLINE row_emission emission_of_row(const double* e, const uint64_t* bits, size_t a) {
    const size_t own = bit_of(bits, a);
    return {spread(e[own + 1]), spread(e[own])};
}

// The forward step of the triangle. Several rows of one length are taken together: they share what belongs to a column.
struct triangle_step {
    const double* f;
    const double* g;
    double c;
    lanes stay;
    const uint64_t* bits;
    const double* by_allele[2];  // emissions of a row by the row's own allele, [padded K]
    double* out;
    double* row_out;
    double* row_sums;

    // Rows last + at and on, last a multiple of 8. Returns the sum of their entries, as two parts.
    template <size_t n_rows>
    KERNEL_INLINE pair rows(size_t last, size_t at) const {
        const size_t length = last + width, start = triangle_row(last) + at * length;
        const double* from = f + start;
        double* to = out + start;
        const double* emit[n_rows];
        lanes constant[n_rows], sum[n_rows], v[n_rows];
        const unsigned own = byte_at(bits, last) >> at;
#pragma GCC unroll 4
        for (size_t i = 0; i < n_rows; ++i) {
            emit[i] = by_allele[(own >> i) & 1U];
            constant[i] = spread(g[last + at + i] + c);
            sum[i] = spread(0.0);
        }
        for (size_t b = 0; b < last; b += width) {
            const lanes shared = load(g + b);
#pragma GCC unroll 4
            for (size_t i = 0; i < n_rows; ++i) {
                v[i] = (stay * load(from + i * length + b) + (constant[i] + shared)) * load(emit[i] + b);
                store(to + i * length + b, v[i]);
                sum[i] = sum[i] + v[i];
            }
            add_to_column(b, v);
        }
        // The block of the diagonal: the pairs left of it, and the pair of one state, at which half as many pairs
        // arrive.
        const lanes shared = load(g + last), half = spread(0.5);
#pragma GCC unroll 4
        for (size_t i = 0; i < n_rows; ++i) {
            const lanes arrived = multiply_some(constant[i] + shared, lane_mask(1U << (at + i)), half);
            const lanes w = stay * load(from + i * length + last) + arrived;
            v[i] = keep(first_lanes(at + i + 1), w * load(emit[i] + last));
            store(to + i * length + last, v[i]);
            sum[i] = sum[i] + v[i];
        }
        add_to_column(last, v);
        return add_to_rows(last + at, sum);
    }

  private:
    KERNEL_INLINE void add_to_column(size_t b, const lanes (&v)[4]) const {
        store(row_out + b, load(row_out + b) + ((v[0] + v[1]) + (v[2] + v[3])));
    }
    KERNEL_INLINE void add_to_column(size_t b, const lanes (&v)[1]) const {
        store(row_out + b, load(row_out + b) + v[0]);
    }
    KERNEL_INLINE pair add_to_rows(size_t first, const lanes (&sum)[4]) const {
        const auto [low, high] = totals(sum);
        stored_pair* place = reinterpret_cast<stored_pair*>(row_out + first);
        place[0] += low;
        place[1] += high;
        place = reinterpret_cast<stored_pair*>(row_sums + first);
        place[0] = low;
        place[1] = high;
        return low + high;
    }
    KERNEL_INLINE pair add_to_rows(size_t first, const lanes (&sum)[1]) const {
        const double in_row = total(sum[0]);
        row_out[first] += in_row;
        row_sums[first] = in_row;
        return pair{in_row, 0.0};
    }
};

double diploid_forward(size_t K, const double* f, const double* g, double t0, double c, const uint64_t* bits,
                       const double* e, double* emission_rows, double* out, double* row_out, double* row_sums) {
    const size_t stride = padded(K);
    for (size_t k = 0; k < stride; k += width) {
        const mask carriers = mask_at(bits, k);
        store(emission_rows + k, select(carriers, spread(e[1]), spread(e[0])));
        store(emission_rows + stride + k, select(carriers, spread(e[2]), spread(e[1])));
        store(row_out + k, spread(0.0));
    }
    const triangle_step step{f,   g,       c,       spread(t0), bits, {emission_rows, emission_rows + stride},
                             out, row_out, row_sums};
    pair sum{};
    size_t last = 0;
    for (; last + width <= K; last += width) {
        sum += step.rows<4>(last, 0);
        sum += step.rows<4>(last, 4);
    }
    for (size_t a = last; a < K; ++a) sum += step.rows<1>(last, a - last);
    return sum[0] + sum[1];
}

void diploid_forward_row(size_t K, size_t a, const double* f, const double* g, double t0, double c,
                         const uint64_t* bits, const double* e, double* out) {
    const lanes stay = spread(t0), constant = spread(g[a] + c);
    const row_emission emit = emission_of_row(e, bits, a);
    const double own = (t0 * f[a] + ((g[a] + c) + g[a]) * 0.5) * e[2 * bit_of(bits, a)];  // half as many pairs arrive
    for (size_t b = 0; b < K; b += width) {
        const lanes w = stay * load(f + b) + (constant + load(g + b));
        store(out + b, w * select(mask_at(bits, b), emit.with_one, emit.with_zero));
    }
    out[a] = own;
}

double diploid_backward_emit(size_t K, const uint64_t* bits, const double* e, double* b, double* row) {
    for (size_t k = 0; k < padded(K); k += width) store(row + k, spread(0.0));
    double sum = 0.0;
    for (size_t a = 0; a < K; ++a) {
        double* values = b + triangle_row(a);
        const row_emission emit = emission_of_row(e, bits, a);
        lanes row_sum = spread(0.0);
        const size_t last = a / width * width;
        for (size_t k = 0; k <= last; k += width) {
            lanes v = load(values + k) * select(mask_at(bits, k), emit.with_one, emit.with_zero);
            store(values + k, v);
            if (k == last) v = keep(first_lanes(a - last), v);
            store(row + k, load(row + k) + v);
            row_sum = row_sum + v;
        }
        const double off_diagonal = total(row_sum);
        row[a] += off_diagonal + values[a];
        sum += off_diagonal + off_diagonal + values[a];
    }
    return sum;
}

void diploid_backward_move(size_t K, const double* g, double t0, double c, double* b) {
    const lanes stay = spread(t0);
    for (size_t a = 0; a < K; ++a) {
        double* values = b + triangle_row(a);
        const lanes constant = spread(c + g[a]);
        const size_t last = a / width * width;
        for (size_t k = 0; k < last; k += width) store(values + k, (constant + load(g + k)) + stay * load(values + k));
        store(values + last, keep(first_lanes(a - last + 1), (constant + load(g + last)) + stay * load(values + last)));
    }
}

void diploid_class_sums(size_t K, const double* f, const double* b, const uint64_t* bits, double* sums) {
    // By the allele of row a, with a partner that carries allele 0 or 1. No class is had by subtraction: callers divide
    // by small emissions.
    lanes with_zero[2] = {spread(0.0), spread(0.0)};
    lanes with_one[2] = {spread(0.0), spread(0.0)};
    for (size_t a = 0; a < K; ++a) {
        const size_t own = bit_of(bits, a);
        const double* f_row = f + triangle_row(a);
        const double* b_row = b + triangle_row(a);
        for (size_t k = 0; k <= a; k += width) {
            const lanes v = load(f_row + k) * load(b_row + k);
            const mask ones = mask_at(bits, k);
            with_zero[own] = add_kept(with_zero[own], inverse(ones), v);
            with_one[own] = add_kept(with_one[own], ones, v);
        }
    }
    sums[0] = total(with_zero[0]);
    sums[1] = total(with_one[0] + with_zero[1]);
    sums[2] = total(with_one[1]);
}

// Emissions of row a of the square, by the allele of the second state.
KERNEL_INLINE row_emission ordered_emission_of_row(const double* e4, const uint64_t* bits, size_t a) {
    const size_t own = bit_of(bits, a);
    return {spread(e4[own * 2 + 1]), spread(e4[own * 2])};
}

double ordered_forward(size_t K, const double* f, const double* g, double t0, double c, const uint64_t* bits,
                       const double* e4, double* out, double* row_out) {
    const lanes stay = spread(t0);
    const size_t stride = padded(K);
    for (size_t k = 0; k < stride; k += width) store(row_out + k, spread(0.0));
    double sum = 0.0;
    for (size_t a = 0; a < K; ++a) {
        const lanes constant = spread(c + g[a]);
        const row_emission emit = ordered_emission_of_row(e4, bits, a);
        lanes row_sum = spread(0.0);
        for (size_t b = 0; b < stride; b += width) {
            lanes v = ((constant + load(g + b)) + stay * load(f + a * stride + b)) *
                      select(mask_at(bits, b), emit.with_one, emit.with_zero);
            if (b + width > K) v = keep(first_lanes(K - b), v);
            store(out + a * stride + b, v);
            store(row_out + b, load(row_out + b) + v);
            row_sum = row_sum + v;
        }
        const double in_row = total(row_sum);
        row_out[a] += in_row;
        sum += in_row;
    }
    return sum;
}

double ordered_backward_emit(size_t K, const uint64_t* bits, const double* e4, double* b, double* row) {
    const size_t stride = padded(K);
    for (size_t k = 0; k < stride; k += width) store(row + k, spread(0.0));
    double sum = 0.0;
    for (size_t a = 0; a < K; ++a) {
        const row_emission emit = ordered_emission_of_row(e4, bits, a);
        lanes row_sum = spread(0.0);
        for (size_t k = 0; k < stride; k += width) {
            double* place = b + a * stride + k;
            const lanes v = load(place) * select(mask_at(bits, k), emit.with_one, emit.with_zero);
            store(place, v);
            store(row + k, load(row + k) + v);
            row_sum = row_sum + v;
        }
        const double in_row = total(row_sum);
        row[a] += in_row;
        sum += in_row;
    }
    return sum;
}

void ordered_backward_move(size_t K, const double* g, double t0, double c, double* b) {
    const lanes stay = spread(t0);
    const size_t stride = padded(K);
    for (size_t a = 0; a < K; ++a) {
        const lanes constant = spread(c + g[a]);
        for (size_t k = 0; k < stride; k += width) {
            double* place = b + a * stride + k;
            lanes v = (constant + load(g + k)) + stay * load(place);
            if (k + width > K) v = keep(first_lanes(K - k), v);
            store(place, v);
        }
    }
}

void ordered_class_sums(size_t K, const double* f, const double* b, const uint64_t* bits, double* sums) {
    lanes with_zero[2] = {spread(0.0), spread(0.0)};
    lanes with_one[2] = {spread(0.0), spread(0.0)};
    const size_t stride = padded(K);
    for (size_t a = 0; a < K; ++a) {
        const size_t own = bit_of(bits, a);
        for (size_t k = 0; k < stride; k += width) {
            const lanes v = load(f + a * stride + k) * load(b + a * stride + k);
            const mask ones = mask_at(bits, k);
            with_zero[own] = add_kept(with_zero[own], inverse(ones), v);
            with_one[own] = add_kept(with_one[own], ones, v);
        }
    }
    for (size_t own = 0; own < 2; ++own) {
        sums[own * 2] = total(with_zero[own]);
        sums[own * 2 + 1] = total(with_one[own]);
    }
}

// Several words.
constexpr size_t part_words = KERNEL_PART;
typedef unsigned long long word_part __attribute__((vector_size(8 * KERNEL_PART)));
// The same in memory, at any word.
typedef unsigned long long stored_word_part __attribute__((vector_size(8 * KERNEL_PART), may_alias, aligned(8)));

#if KERNEL_PART == 8
// Numbers of set bits of the words, by looking up each half byte (Mula et al. 2018).
KERNEL_INLINE word_part set_bits(const word_part& words) {
    constexpr uint64_t of_0_to_7 = 0x0302020102010100ULL, of_8_to_15 = 0x0403030203020201ULL;
    const word_part counted{of_0_to_7, of_8_to_15, of_0_to_7, of_8_to_15, of_0_to_7, of_8_to_15, of_0_to_7, of_8_to_15};
    const __m512i counts = reinterpret_cast<__m512i>(counted);
    const word_part low = words & 0x0f0f0f0f0f0f0f0fULL, high = (words >> 4) & 0x0f0f0f0f0f0f0f0fULL;
    const __m512i of_bytes = _mm512_add_epi8(_mm512_shuffle_epi8(counts, reinterpret_cast<__m512i>(low)),
                                             _mm512_shuffle_epi8(counts, reinterpret_cast<__m512i>(high)));
    return reinterpret_cast<word_part>(_mm512_sad_epu8(of_bytes, _mm512_setzero_si512()));
}

KERNEL_INLINE word_part first_words(const uint64_t* x, size_t n) {
    return reinterpret_cast<word_part>(_mm512_maskz_loadu_epi64(static_cast<__mmask8>((1U << n) - 1), x));
}

size_t differences(size_t n_words, const uint64_t* x, const uint64_t* y) {
    word_part sum{};
    size_t w = 0;
    for (; w + 8 <= n_words; w += 8) {
        sum += set_bits(*reinterpret_cast<const stored_word_part*>(x + w) ^
                        *reinterpret_cast<const stored_word_part*>(y + w));
    }
    if (w < n_words) sum += set_bits(first_words(x + w, n_words - w) ^ first_words(y + w, n_words - w));
    sum += __builtin_shufflevector(sum, sum, 4, 5, 6, 7, 4, 5, 6, 7);
    sum += __builtin_shufflevector(sum, sum, 2, 3, 2, 3, 2, 3, 2, 3);
    return sum[0] + sum[1];
}
#else
size_t differences(size_t n_words, const uint64_t* x, const uint64_t* y) {
    size_t n = 0;
#pragma GCC unroll 8
    for (size_t w = 0; w < n_words; ++w) n += static_cast<size_t>(__builtin_popcountll(x[w] ^ y[w]));
    return n;
}
#endif

void distances(size_t n_words, const uint64_t* x, size_t n_rows, const uint64_t* rows, int* counts) {
    for (size_t r = 0; r < n_rows; ++r) counts[r] = static_cast<int>(differences(n_words, x, rows + r * n_words));
}

// Transposition in three steps between words that are 32, 16 and 8 apart and three between those 4, 2 and 1 apart, each
// of which swaps the off-diagonal quarters of ever smaller squares (Warren 2012, 7-3, for 64 bits, least significant
// bit first).
// The words of a part, each in the place of the one span further.
template <size_t span>
KERNEL_INLINE word_part partners(const word_part& x) {
#if KERNEL_PART == 8
    return __builtin_shufflevector(x, x, 0 ^ span, 1 ^ span, 2 ^ span, 3 ^ span, 4 ^ span, 5 ^ span, 6 ^ span,
                                   7 ^ span);
#elif KERNEL_PART == 4
    return __builtin_shufflevector(x, x, 0 ^ span, 1 ^ span, 2 ^ span, 3 ^ span);
#else
    return __builtin_shufflevector(x, x, 0 ^ span, 1 ^ span);
#endif
}

// The bits of own where those of from_own are set, else those of other.
KERNEL_INLINE word_part mix(const word_part& from_own, const word_part& own, const word_part& other) {
#if KERNEL_PART == 8
    return reinterpret_cast<word_part>(_mm512_ternarylogic_epi64(
        reinterpret_cast<__m512i>(from_own), reinterpret_cast<__m512i>(own), reinterpret_cast<__m512i>(other), 0xca));
#else
    return ((own ^ other) & from_own) ^ other;
#endif
}

// Left words keep their low bits and take those of their partners as high ones, right words the other way round. What a
// rotation brings in at the other end is masked away.
template <size_t span>
KERNEL_INLINE word_part swap_inside(const word_part& x, uint64_t low) {
    word_part kept{}, to_left{};
    for (size_t i = 0; i < part_words; ++i) {
        kept[i] = (i & span) == 0 ? low : ~low;
        to_left[i] = (i & span) == 0 ? span : 64 - span;
    }
    const word_part other = partners<span>(x);
#if KERNEL_PART == 8
    const word_part turned = reinterpret_cast<word_part>(
        _mm512_maskz_rolv_epi64(0xff, reinterpret_cast<__m512i>(other), reinterpret_cast<__m512i>(to_left)));
#else
    const word_part turned = (other << to_left) | (other >> (64 - to_left));
#endif
    return mix(kept, x, turned);
}

template <size_t span>
KERNEL_INLINE void transpose_step(word_part* words, uint64_t low) {
    constexpr size_t n = 64 / part_words;
    if constexpr (span < part_words) {
#pragma GCC unroll 32
        for (size_t p = 0; p < n; ++p) words[p] = swap_inside<span>(words[p], low);
    } else {
        constexpr size_t apart = span / part_words;
#pragma GCC unroll 32
        for (size_t p = 0; p < n; ++p) {
            if ((p & apart) != 0) continue;
            const word_part left = words[p], right = words[p + apart], kept = word_part{} + low;
            words[p] = mix(kept, left, right << span);
            words[p + apart] = mix(kept, left >> span, right);
        }
    }
}

void transpose(const uint64_t* from, uint64_t* to) {
    word_part words[64 / part_words];
    for (size_t p = 0; p < 64 / part_words; ++p) words[p] = reinterpret_cast<const stored_word_part*>(from)[p];
    transpose_step<32>(words, 0x00000000ffffffffULL);
    transpose_step<16>(words, 0x0000ffff0000ffffULL);
    transpose_step<8>(words, 0x00ff00ff00ff00ffULL);
    transpose_step<4>(words, 0x0f0f0f0f0f0f0f0fULL);
    transpose_step<2>(words, 0x3333333333333333ULL);
    transpose_step<1>(words, 0x5555555555555555ULL);
    for (size_t p = 0; p < 64 / part_words; ++p) reinterpret_cast<stored_word_part*>(to)[p] = words[p];
}

#if KERNEL_PART == 8
void transpose_words(const uint64_t* const* from, uint64_t* to, size_t stride) {
    word_part rows[8], pairs[8], quads[8];
    for (size_t i = 0; i < 8; ++i) rows[i] = *reinterpret_cast<const stored_word_part*>(from[i]);
#pragma GCC unroll 4
    for (size_t i = 0; i < 8; i += 2) {
        pairs[i] = __builtin_shufflevector(rows[i], rows[i + 1], 0, 8, 2, 10, 4, 12, 6, 14);
        pairs[i + 1] = __builtin_shufflevector(rows[i], rows[i + 1], 1, 9, 3, 11, 5, 13, 7, 15);
    }
#pragma GCC unroll 4
    for (size_t i = 0; i < 4; ++i) {
        const size_t at = i / 2 * 4 + i % 2;
        quads[at] = __builtin_shufflevector(pairs[at], pairs[at + 2], 0, 1, 8, 9, 4, 5, 12, 13);
        quads[at + 2] = __builtin_shufflevector(pairs[at], pairs[at + 2], 2, 3, 10, 11, 6, 7, 14, 15);
    }
#pragma GCC unroll 4
    for (size_t i = 0; i < 4; ++i) {
        stored_word_part* low = reinterpret_cast<stored_word_part*>(to + i * stride);
        stored_word_part* high = reinterpret_cast<stored_word_part*>(to + (i + 4) * stride);
        *low = __builtin_shufflevector(quads[i], quads[i + 4], 0, 1, 2, 3, 8, 9, 10, 11);
        *high = __builtin_shufflevector(quads[i], quads[i + 4], 4, 5, 6, 7, 12, 13, 14, 15);
    }
}
#elif KERNEL_PART == 4
void transpose_words(const uint64_t* const* from, uint64_t* to, size_t stride) {
    for (size_t first = 0; first < 8; first += 4) {
        for (size_t word = 0; word < 8; word += 4) {
            word_part rows[4], pairs[4];
            for (size_t i = 0; i < 4; ++i) {
                rows[i] = *reinterpret_cast<const stored_word_part*>(from[first + i] + word);
            }
            for (size_t i = 0; i < 4; i += 2) {
                pairs[i] = __builtin_shufflevector(rows[i], rows[i + 1], 0, 4, 2, 6);
                pairs[i + 1] = __builtin_shufflevector(rows[i], rows[i + 1], 1, 5, 3, 7);
            }
            for (size_t i = 0; i < 2; ++i) {
                uint64_t* place = to + (word + i) * stride + first;
                *reinterpret_cast<stored_word_part*>(place) =
                    __builtin_shufflevector(pairs[i], pairs[i + 2], 0, 1, 4, 5);
                *reinterpret_cast<stored_word_part*>(place + 2 * stride) =
                    __builtin_shufflevector(pairs[i], pairs[i + 2], 2, 3, 6, 7);
            }
        }
    }
}
#else
void transpose_words(const uint64_t* const* from, uint64_t* to, size_t stride) {
    for (size_t j = 0; j < 8; ++j) {
        for (size_t i = 0; i < 8; ++i) to[j * stride + i] = from[i][j];
    }
}
#endif

}  // namespace

extern const table kernel_table;
const table kernel_table{haploid_forward,
                         haploid_backward,
                         multiply,
                         weigh_alleles,
                         divide,
                         sum_of,
                         diploid_forward,
                         diploid_forward_row,
                         diploid_backward_emit,
                         diploid_backward_move,
                         diploid_class_sums,
                         ordered_forward,
                         ordered_backward_emit,
                         ordered_backward_move,
                         ordered_class_sums,
                         distances,
                         transpose,
                         transpose_words};

}  // namespace kernels::KERNEL_LEVEL
