// The kernels, in a namespace that the including file names by KERNEL_LEVEL. Nothing of the standard library is used
// here: an inline function compiled for one instruction set must not be shared with the others.

#include "inference/kernels/kernels.h"

namespace kernels::KERNEL_LEVEL {

namespace {

using std::size_t;
using std::uint64_t;

typedef double lanes __attribute__((vector_size(64), may_alias));
typedef long long int_lanes __attribute__((vector_size(64), may_alias));

constexpr size_t width = lane_count;

inline lanes load(const double* p) {
    return *reinterpret_cast<const lanes*>(p);
}
inline void store(double* p, lanes v) {
    *reinterpret_cast<lanes*>(p) = v;
}
inline lanes spread(double x) {
    return lanes{x, x, x, x, x, x, x, x};
}

inline double total(lanes v) {
    return ((v[0] + v[4]) + (v[2] + v[6])) + ((v[1] + v[5]) + (v[3] + v[7]));
}

// The eight bits from state k on, k a multiple of 8.
inline long long byte_at(const uint64_t* bits, size_t k) {
    return static_cast<long long>((bits[k / 64] >> (k % 64)) & 0xffU);
}

// All ones in the lanes whose bit is set.
inline int_lanes lane_mask(long long byte) {
    const int_lanes lane_bits{1, 2, 4, 8, 16, 32, 64, 128};
    const int_lanes spread_byte{byte, byte, byte, byte, byte, byte, byte, byte};
    return (spread_byte & lane_bits) == lane_bits;
}

inline lanes select(int_lanes mask, lanes when_set, lanes when_clear) {
    return reinterpret_cast<lanes>((mask & reinterpret_cast<int_lanes>(when_set)) |
                                   (~mask & reinterpret_cast<int_lanes>(when_clear)));
}
inline lanes keep(int_lanes mask, lanes v) {
    return reinterpret_cast<lanes>(mask & reinterpret_cast<int_lanes>(v));
}

// The first n lanes.
inline int_lanes first_lanes(size_t n) {
    return lane_mask((1LL << n) - 1);
}

double haploid_forward(size_t K, const double* f, double alpha, double beta, const uint64_t* bits, double m0, double m1,
                       double* out) {
    const lanes a = spread(alpha), b = spread(beta), e0 = spread(m0), e1 = spread(m1);
    lanes sum = spread(0.0);
    const size_t whole = K / width * width;
    for (size_t k = 0; k < whole; k += width) {
        const lanes v = (load(f + k) * a + b) * select(lane_mask(byte_at(bits, k)), e1, e0);
        store(out + k, v);
        sum += v;
    }
    if (whole < K) {
        const lanes v =
            keep(first_lanes(K - whole), (load(f + whole) * a + b) * select(lane_mask(byte_at(bits, whole)), e1, e0));
        store(out + whole, v);
        sum += v;
    }
    return total(sum);
}

backward_sums haploid_backward(size_t K, const double* c, double alpha, double beta, const double* f,
                               const uint64_t* bits, double m0, double m1, double* out) {
    const lanes a = spread(alpha), b = spread(beta), e0 = spread(m0), e1 = spread(m1);
    lanes sum = spread(0.0), with_zero = spread(0.0), with_one = spread(0.0);
    for (size_t k = 0; k < K; k += width) {
        const lanes old = load(c + k);
        const lanes forward = load(f + k);
        const int_lanes carriers = lane_mask(byte_at(bits, k));
        lanes value = old * a + b;
        if (k + width > K) value = keep(first_lanes(K - k), value);
        const lanes posterior = forward * value;
        with_zero += keep(~carriers, posterior);
        with_one += keep(carriers, posterior);
        value *= select(carriers, e1, e0);
        store(out + k, value);
        sum += value;
    }
    return {total(sum), {total(with_zero), total(with_one)}};
}

// Two lanes, taken in turn, so that one addition need not wait for the one before.
carrier_sums sum_carriers(size_t K, const uint64_t* bits, const double* f, const double* c) {
    const size_t words = (K + 63) / 64;
    size_t n_ones = 0;
    for (size_t w = 0; w < words; ++w) n_ones += static_cast<size_t>(__builtin_popcountll(bits[w]));
    const bool ones = 2 * n_ones <= K;
    double product[2] = {0.0, 0.0}, forward[2] = {0.0, 0.0}, backward[2] = {0.0, 0.0};
    for (size_t w = 0; w < words; ++w) {
        uint64_t left = ones ? bits[w] : ~bits[w];
        if (w + 1 == words && K % 64 != 0) left &= (uint64_t{1} << (K % 64)) - 1;
        for (size_t lane = 0; left != 0; left &= left - 1, lane ^= 1) {
            const size_t k = w * 64 + static_cast<size_t>(__builtin_ctzll(left));
            product[lane] += f[k] * c[k];
            forward[lane] += f[k];
            backward[lane] += c[k];
        }
    }
    return {product[0] + product[1], forward[0] + forward[1], backward[0] + backward[1], ones ? n_ones : K - n_ones,
            ones};
}

double dot(size_t K, const double* f, const double* c) {
    lanes sum = spread(0.0);
    for (size_t k = 0; k < K; k += width) sum += load(f + k) * load(c + k);
    return total(sum);
}

void divide(size_t n, double divisor, double* values) {
    for (size_t i = 0; i < n; ++i) values[i] /= divisor;
}

// Emissions of row a, by the allele of the other state: set bit, clear bit.
struct row_emission {
    lanes with_one;
    lanes with_zero;
};
inline row_emission emission_of_row(const double* e, const uint64_t* bits, size_t a) {
    const size_t own = static_cast<size_t>((bits[a / 64] >> (a % 64)) & 1U);
    return {spread(e[own + 1]), spread(e[own])};
}

double diploid_forward(size_t K, const double* f, const double* diag, const double* g, double t0, double c,
                       const uint64_t* bits, const double* e, double* out, double* row_out, double* diag_out) {
    const lanes stay = spread(t0);
    for (size_t k = 0; k < padded(K); k += width) store(row_out + k, spread(0.0));
    double sum = 0.0;
    for (size_t a = 0; a < K; ++a) {
        const double* f_row = f + triangle_row(a);
        double* out_row = out + triangle_row(a);
        const lanes constant = spread(g[a] + c);
        const row_emission emit = emission_of_row(e, bits, a);
        lanes row_sum = spread(0.0);
        const size_t last = a / width * width;
        for (size_t b = 0; b < last; b += width) {
            const lanes w = stay * load(f_row + b) + (constant + load(g + b));
            const lanes v = w * select(lane_mask(byte_at(bits, b)), emit.with_one, emit.with_zero);
            store(out_row + b, v);
            store(row_out + b, load(row_out + b) + v);
            row_sum += v;
        }
        // The block of the diagonal: the pairs left of it, then the pair of one state.
        const lanes w = stay * load(f_row + last) + (constant + load(g + last));
        const lanes v =
            keep(first_lanes(a - last), w * select(lane_mask(byte_at(bits, last)), emit.with_one, emit.with_zero));
        store(row_out + last, load(row_out + last) + v);
        row_sum += v;
        const double both = w[a - last];
        const double on_diagonal =
            (t0 * diag[a] + both) * 0.5 * e[2 * static_cast<size_t>((bits[a / 64] >> (a % 64)) & 1U)];
        lanes stored = v;
        stored[a - last] = on_diagonal;
        store(out_row + last, stored);
        diag_out[a] = on_diagonal;
        const double in_row = total(row_sum) + on_diagonal;
        row_out[a] += in_row;
        sum += in_row;
    }
    return sum;
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
            lanes v = load(values + k) * select(lane_mask(byte_at(bits, k)), emit.with_one, emit.with_zero);
            store(values + k, v);
            if (k == last) v = keep(first_lanes(a - last), v);
            store(row + k, load(row + k) + v);
            row_sum += v;
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
        const size_t own = static_cast<size_t>((bits[a / 64] >> (a % 64)) & 1U);
        const double* f_row = f + triangle_row(a);
        const double* b_row = b + triangle_row(a);
        for (size_t k = 0; k <= a; k += width) {
            const lanes v = load(f_row + k) * load(b_row + k);
            const int_lanes ones = lane_mask(byte_at(bits, k));
            with_zero[own] += keep(~ones, v);
            with_one[own] += keep(ones, v);
        }
    }
    sums[0] = total(with_zero[0]);
    sums[1] = total(with_one[0] + with_zero[1]);
    sums[2] = total(with_one[1]);
}

// Emissions of row a of the square, by the allele of the second state.
inline row_emission ordered_emission_of_row(const double* e4, const uint64_t* bits, size_t a) {
    const size_t own = static_cast<size_t>((bits[a / 64] >> (a % 64)) & 1U);
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
                      select(lane_mask(byte_at(bits, b)), emit.with_one, emit.with_zero);
            if (b + width > K) v = keep(first_lanes(K - b), v);
            store(out + a * stride + b, v);
            store(row_out + b, load(row_out + b) + v);
            row_sum += v;
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
            const lanes v = load(place) * select(lane_mask(byte_at(bits, k)), emit.with_one, emit.with_zero);
            store(place, v);
            store(row + k, load(row + k) + v);
            row_sum += v;
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
        const size_t own = static_cast<size_t>((bits[a / 64] >> (a % 64)) & 1U);
        for (size_t k = 0; k < stride; k += width) {
            const lanes v = load(f + a * stride + k) * load(b + a * stride + k);
            const int_lanes ones = lane_mask(byte_at(bits, k));
            with_zero[own] += keep(~ones, v);
            with_one[own] += keep(ones, v);
        }
    }
    for (size_t own = 0; own < 2; ++own) {
        sums[own * 2] = total(with_zero[own]);
        sums[own * 2 + 1] = total(with_one[own]);
    }
}

void distances(size_t n_words, const uint64_t* x, size_t n_rows, const uint64_t* rows, int* counts) {
    for (size_t r = 0; r < n_rows; ++r) {
        const uint64_t* row = rows + r * n_words;
        size_t n = 0;
        for (size_t w = 0; w < n_words; ++w) n += static_cast<size_t>(__builtin_popcountll(x[w] ^ row[w]));
        counts[r] = static_cast<int>(n);
    }
}

// Swaps ever smaller off-diagonal quarters (Warren 2012, 7-3, for 64 bits, least significant bit first).
void transpose(uint64_t* block) {
    uint64_t mask = 0x00000000ffffffffULL;
    for (size_t span = 32; span != 0; span >>= 1, mask ^= mask << span) {
        for (size_t base = 0; base < 64; base += 2 * span) {
            for (size_t i = base; i < base + span; ++i) {
                const uint64_t swapped = ((block[i] >> span) ^ block[i + span]) & mask;
                block[i] ^= swapped << span;
                block[i + span] ^= swapped;
            }
        }
    }
}

}  // namespace

extern const table kernel_table;
const table kernel_table{haploid_forward,
                         haploid_backward,
                         sum_carriers,
                         dot,
                         divide,
                         diploid_forward,
                         diploid_backward_emit,
                         diploid_backward_move,
                         diploid_class_sums,
                         ordered_forward,
                         ordered_backward_emit,
                         ordered_backward_move,
                         ordered_class_sums,
                         distances,
                         transpose};

}  // namespace kernels::KERNEL_LEVEL
