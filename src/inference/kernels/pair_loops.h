// The steps of the models over pairs of states. Included inside the namespace of a level, after the lanes.

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

// Where the rows of a table of pairs stand, and how many values they have.
struct triangle_rows {
    KERNEL_INLINE static size_t start(size_t a) { return triangle_row(a); }
    KERNEL_INLINE static size_t length(size_t a) { return a + 1; }
};
struct square_rows {
    size_t K;
    KERNEL_INLINE size_t start(size_t a) const { return a * padded(K); }
    KERNEL_INLINE size_t length(size_t /*a*/) const { return K; }
};

template <typename Rows>
KERNEL_INLINE void backward_move(const Rows& rows, size_t K, const double* g, double t0, double c, double* b) {
    const lanes stay = spread(t0);
    for (size_t a = 0; a < K; ++a) {
        double* values = b + rows.start(a);
        const lanes constant = spread(c + g[a]);
        const size_t n = rows.length(a), last = (n - 1) / width * width;
        for (size_t k = 0; k < last; k += width) store(values + k, (constant + load(g + k)) + stay * load(values + k));
        store(values + last, keep(first_lanes(n - last), (constant + load(g + last)) + stay * load(values + last)));
    }
}

void diploid_backward_move(size_t K, const double* g, double t0, double c, double* b) {
    backward_move(triangle_rows{}, K, g, t0, c, b);
}

void ordered_backward_move(size_t K, const double* g, double t0, double c, double* b) {
    backward_move(square_rows{K}, K, g, t0, c, b);
}

// Sums of f * b, by the allele of row a, with a partner that carries allele 0 or 1. No class is had by subtraction:
// callers divide by small emissions.
struct class_sums_of_rows {
    lanes with_zero[2] = {spread(0.0), spread(0.0)};
    lanes with_one[2] = {spread(0.0), spread(0.0)};

    template <typename Rows>
    KERNEL_INLINE void add(const Rows& rows, size_t K, const double* f, const double* b, const uint64_t* bits) {
        for (size_t a = 0; a < K; ++a) {
            const size_t own = bit_of(bits, a), start = rows.start(a), n = rows.length(a);
            for (size_t k = 0; k < n; k += width) {
                const lanes v = load(f + start + k) * load(b + start + k);
                const mask ones = mask_at(bits, k);
                with_zero[own] = add_kept(with_zero[own], inverse(ones), v);
                with_one[own] = add_kept(with_one[own], ones, v);
            }
        }
    }
};

void diploid_class_sums(size_t K, const double* f, const double* b, const uint64_t* bits, double* sums) {
    class_sums_of_rows by_row;
    by_row.add(triangle_rows{}, K, f, b, bits);
    sums[0] = total(by_row.with_zero[0]);
    sums[1] = total(by_row.with_one[0] + by_row.with_zero[1]);
    sums[2] = total(by_row.with_one[1]);
}

void ordered_class_sums(size_t K, const double* f, const double* b, const uint64_t* bits, double* sums) {
    class_sums_of_rows by_row;
    by_row.add(square_rows{K}, K, f, b, bits);
    for (size_t own = 0; own < 2; ++own) {
        sums[own * 2] = total(by_row.with_zero[own]);
        sums[own * 2 + 1] = total(by_row.with_one[own]);
    }
}

// Emissions of row a of the square, by the allele of the second state.
KERNEL_INLINE row_emission ordered_emission_of_row(const double* e4, const uint64_t* bits, size_t a) {
    const size_t own = bit_of(bits, a);
    return {spread(e4[own * 2 + 1]), spread(e4[own * 2])};
}

// Multiplies the values of a square by their emissions, writes them to out, and sums each in row a and in row b.
// row_of(a) gives a function of b, the values of eight pairs. Returns the sum of all.
template <typename RowOf>
KERNEL_INLINE double emit_square(size_t K, const uint64_t* bits, const double* e4, const RowOf& row_of, double* out,
                                 double* row_out) {
    const size_t stride = padded(K);
    for (size_t k = 0; k < stride; k += width) store(row_out + k, spread(0.0));
    double sum = 0.0;
    for (size_t a = 0; a < K; ++a) {
        const auto value = row_of(a);
        const row_emission emit = ordered_emission_of_row(e4, bits, a);
        lanes row_sum = spread(0.0);
        for (size_t b = 0; b < stride; b += width) {
            lanes v = value(b) * select(mask_at(bits, b), emit.with_one, emit.with_zero);
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

double ordered_forward(size_t K, const double* f, const double* g, double t0, double c, const uint64_t* bits,
                       const double* e4, double* out, double* row_out) {
    const lanes stay = spread(t0);
    const auto row_of = [&](size_t a) {
        const double* row = f + a * padded(K);
        return [constant = spread(c + g[a]), stay, row, g](size_t b) {
            return (constant + load(g + b)) + stay * load(row + b);
        };
    };
    return emit_square(K, bits, e4, row_of, out, row_out);
}

double ordered_backward_emit(size_t K, const uint64_t* bits, const double* e4, double* b, double* row) {
    const auto row_of = [&](size_t a) {
        const double* values = b + a * padded(K);
        return [values](size_t k) { return load(values + k); };
    };
    return emit_square(K, bits, e4, row_of, b, row);
}
