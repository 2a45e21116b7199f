// The steps over pairs of states by classes of states with equal alleles. What the pairs of a state with the states of
// a class hold together follows from step to step without the pairs themselves; a single pair is its value at the
// beginning times a factor, plus what arrived with either state. Included inside the namespace of a level, after the
// loops over words.

KERNEL_INLINE void add_to(double* place, const double* values) {
    store(place, load(place) + load(values));
}

#define KERNEL_LAMBDA __attribute__((always_inline))

// The tiles of 8 x 8 pairs of a triangular table, of rows 8 g on and columns 8 h on: calls visit(g, h, n_rows, offset
// of the first row's part in the table, distance of the rows).
template <typename Visit>
KERNEL_INLINE void for_tiles(size_t K, const Visit& visit) {
    for (size_t g = 0; g * width < K; ++g) {
        const size_t length = (g + 1) * width, n_rows = K - g * width < width ? K - g * width : width;
        for (size_t h = 0; h <= g; ++h) visit(g, h, n_rows, triangle_row(g * width) + h * width, length);
    }
}

KERNEL_INLINE const uint64_t* as_words(const double* p) {
    return reinterpret_cast<const uint64_t*>(p);
}

// Where the parts of classes stand.
struct class_parts {
    double* parts;
    size_t stride;  // of a class
    const uint32_t* of_state;

    KERNEL_INLINE explicit class_parts(const pair_classes& of)
        : parts(of.parts), stride(2 * padded(of.n_states)), of_state(of.of_state) {}
    // The sums of eight states, from 8 g on, with the class of state k; behind them what arrived.
    KERNEL_INLINE double* with_state(size_t k, size_t g) const { return parts + of_state[k] * stride + g * width * 2; }
};

alignas(64) constexpr double no_values[width] = {};

void pairs_to_classes(const pair_classes& to, const double* f, double* class_row) {
    const size_t K = to.n_states, class_stride = padded(to.n_classes);
    for (size_t i = 0; i < to.n_classes * padded(K) * 2; i += width) store(to.parts + i, spread(0.0));
    for (size_t i = 0; i < to.n_classes * class_stride; i += width) store(to.factor + i, spread(1.0));
    const class_parts parts(to);
    for_tiles(K, [=](size_t g, size_t h, size_t n_rows, size_t offset, size_t length) KERNEL_LAMBDA {
        const double* rows = f + offset;
        const uint64_t* words[width];
        for (size_t i = 0; i < width; ++i) words[i] = as_words(i < n_rows ? rows + i * length : no_values);
        alignas(64) double columns[width * width];
        transpose_words(words, reinterpret_cast<uint64_t*>(columns), width);
        for (size_t i = 0; i < n_rows; ++i) add_to(parts.with_state(g * width + i, h), rows + i * length);
        const size_t n_columns = h == g ? n_rows : width;
        for (size_t j = 0; j < n_columns; ++j) {
            add_to(parts.with_state(h * width + j, g), columns + j * width);
        }
    });
    for (size_t c = 0; c < to.n_classes; ++c) {
        lanes sum = spread(0.0);
        for (size_t g = 0; g * width < K; ++g) sum = sum + load(to.parts + c * parts.stride + g * width * 2);
        class_row[c] = total(sum);
    }
}

// What does not depend on the other state's class but by its allele.
struct class_rows {
    size_t stride;
    double* scratch;  // [2 alleles][padded K / 8][3][8]: emission, times stay, times what arrives with the state alone

    KERNEL_INLINE double* of(size_t allele) const { return scratch + allele * 3 * stride; }
    KERNEL_INLINE void fill(size_t K, const class_site& site) const {
        const lanes stay = spread(site.stay), half_constant = spread(0.5 * site.constant);
        for (size_t k = 0; k < stride; k += width) {
            const mask carriers = mask_at(site.bits, k);
            const lanes alone = load(site.shared + k) + half_constant;
#pragma GCC unroll 2
            for (size_t x = 0; x < 2; ++x) {
                lanes e = select(carriers, spread(site.e[x + 1]), spread(site.e[x]));
                if (k + width > K) e = keep(first_lanes(K - k), e);
                double* row = of(x) + 3 * k;
                store(row, e);
                store(row + width, e * stay);
                store(row + 2 * width, e * alone);
            }
        }
    }
};

// n classes from one on: their parts, and what they add to the sums over all.
template <size_t n>
KERNEL_INLINE void step_classes(const pair_classes& in, const class_site& site, const class_rows& rows, size_t first,
                                double* __restrict row_out, double* class_row) {
    const size_t stride = rows.stride;
    const double* row[n];
    lanes size[n], shared[n], all[n];
#pragma GCC unroll 4
    for (size_t i = 0; i < n; ++i) {
        row[i] = rows.of(bit_of(site.class_bits, first + i));
        size[i] = spread(in.size[first + i]);
        shared[i] = spread(site.class_shared[first + i]);
        all[i] = spread(0.0);
    }
    double* __restrict parts = in.parts + first * 2 * stride;
    const double* __restrict alone_of = site.shared;
    const lanes constant = spread(site.constant);
    for (size_t k = 0; k < stride; k += width) {
        const lanes alone = load(alone_of + k) + constant;
        lanes sum = load(row_out + k);
#pragma GCC unroll 4
        for (size_t i = 0; i < n; ++i) {
            double* place = parts + i * 2 * stride + 2 * k;
            const double* e = row[i] + 3 * k;
            const lanes stay = load(e + width);
            const lanes v = load(place) * stay + load(e) * (size[i] * alone + shared[i]);
            store(place, v);
            store(place + width, load(place + width) * stay + load(e + 2 * width));
            all[i] = all[i] + v;
            sum = sum + v;
        }
        store(row_out + k, sum);
    }
#pragma GCC unroll 4
    for (size_t i = 0; i < n; ++i) class_row[first + i] = total(all[i]);
}

void class_step(const pair_classes& in, const class_site& site, double* row_out, double* class_row) {
    const size_t n = in.n_classes;
    const class_rows rows{padded(in.n_states), in.scratch};
    rows.fill(in.n_states, site);
    for (size_t k = 0; k < rows.stride; k += width) store(row_out + k, spread(0.0));
    size_t first = 0;
    for (; first + 2 <= n; first += 2) step_classes<2>(in, site, rows, first, row_out, class_row);
    for (; first < n; ++first) step_classes<1>(in, site, rows, first, row_out, class_row);

    const size_t class_stride = padded(n);
    for (size_t a = 0; a < n; ++a) {
        const size_t x = bit_of(site.class_bits, a);
        const lanes with_one = spread(site.e[x + 1] * site.stay), with_zero = spread(site.e[x] * site.stay);
        double* factor = in.factor + a * class_stride;
        for (size_t b = 0; b < class_stride; b += width) {
            store(factor + b, load(factor + b) * select(mask_at(site.class_bits, b), with_one, with_zero));
        }
    }
}

void classes_to_pairs(const pair_classes& from, const double* f, double* out) {
    const size_t K = from.n_states, stride = padded(K), class_stride = padded(from.n_classes);
    for (size_t a = 0; a < from.n_classes; ++a) {
        for (size_t k = 0; k < K; ++k) {
            from.scratch[a * stride + k] = from.factor[a * class_stride + from.of_state[k]];
        }
    }
    const class_parts parts(from);
    const double* factors = from.scratch;
    const lanes half = spread(0.5);
    for_tiles(K, [=](size_t g, size_t h, size_t n_rows, size_t offset, size_t length) KERNEL_LAMBDA {
        const uint64_t* words[width];
        for (size_t j = 0; j < width; ++j) {
            const size_t b = h * width + j;
            words[j] = as_words(b < K ? parts.with_state(b, g) + width : no_values);
        }
        alignas(64) double with_other[width * width];
        transpose_words(words, reinterpret_cast<uint64_t*>(with_other), width);
        for (size_t i = 0; i < n_rows; ++i) {
            const size_t a = g * width + i, place = offset + i * length;
            const lanes factor = load(factors + parts.of_state[a] * stride + h * width);
            lanes arrived = load(with_other + i * width) + load(parts.with_state(a, h) + width);
            if (h == g) arrived = multiply_some(arrived, lane_mask(1U << i), half);
            lanes v = factor * load(f + place) + arrived;
            if (h == g) v = keep(first_lanes(i + 1), v);
            store(out + place, v);
        }
    });
}
