// The model of one haplotype by classes of states with equal alleles over a block of sites. The value of state k of
// class c is factor[c] f[k] + arrived[c], f being the values at the border of the block. Included inside the namespace
// of a level, after the steps of one haplotype.

double enter_by_class(size_t n, const class_sums& sums, const class_image& from, double alpha, double beta,
                      const uint64_t* bits, double m0, double m1, const class_image& to) {
    const lanes a = spread(alpha), b = spread(beta), e0 = spread(m0), e1 = spread(m1);
    lanes sum = spread(0.0);
    for (size_t c = 0; c < n; c += width) {
        const lanes m = select(mask_at(bits, c), e1, e0);
        const lanes factor = load(from.factor + c) * a * m;
        const lanes arrived = (load(from.arrived + c) * a + b) * m;
        store(to.factor + c, factor);
        store(to.arrived + c, arrived);
        sum = sum + (factor * load(sums.of_values + c) + arrived * load(sums.size + c));
    }
    return total(sum);
}

// For the four sums over states: of forward times backward value, of either, their number.
typedef double quad __attribute__((vector_size(32)));
typedef double stored_quad __attribute__((vector_size(32), may_alias));

// Writes four vectors of eight classes class by class.
KERNEL_INLINE void store_quads(double* to, const lanes& p, const lanes& q, const lanes& r, const lanes& s) {
#if KERNEL_PART == 8
    const lanes pq[2] = {__builtin_shufflevector(p, q, 0, 8, 1, 9, 2, 10, 3, 11),
                         __builtin_shufflevector(p, q, 4, 12, 5, 13, 6, 14, 7, 15)};
    const lanes rs[2] = {__builtin_shufflevector(r, s, 0, 8, 1, 9, 2, 10, 3, 11),
                         __builtin_shufflevector(r, s, 4, 12, 5, 13, 6, 14, 7, 15)};
    for (size_t i = 0; i < 2; ++i) {
        store(to + i * 2 * width, __builtin_shufflevector(pq[i], rs[i], 0, 1, 8, 9, 2, 3, 10, 11));
        store(to + i * 2 * width + width, __builtin_shufflevector(pq[i], rs[i], 4, 5, 12, 13, 6, 7, 14, 15));
    }
#else
    alignas(64) double rows[4][width];
    store(rows[0], p);
    store(rows[1], q);
    store(rows[2], r);
    store(rows[3], s);
    for (size_t c = 0; c < width; ++c) {
        for (size_t i = 0; i < 4; ++i) to[c * 4 + i] = rows[i][c];
    }
#endif
}

// Adds the classes of the set bits of a word.
KERNEL_INLINE void add_classes(const double* quads, uint64_t in, quad& even, quad& odd) {
    while (in != 0) {
        even += *reinterpret_cast<const stored_quad*>(quads + __builtin_ctzll(in) * 4);
        in &= in - 1;
        if (in == 0) break;
        odd += *reinterpret_cast<const stored_quad*>(quads + __builtin_ctzll(in) * 4);
        in &= in - 1;
    }
}

// Sum over the classes of the set bits, or with flip of the clear ones.
KERNEL_INLINE quad sum_of_classes(size_t words, uint64_t last_word, const double* quads, const uint64_t* bits,
                                  uint64_t flip) {
    quad even{}, odd{};
    for (size_t w = 0; w + 1 < words; ++w) add_classes(quads + w * 64 * 4, bits[w] ^ flip, even, odd);
    add_classes(quads + (words - 1) * 64 * 4, (bits[words - 1] ^ flip) & last_word, even, odd);
    return even + odd;
}

KERNEL_INLINE double weigh(const quad& sum, const state_weight& w) {
    return (w.product * sum[0] + w.each * sum[3]) + (w.forward * sum[1] + w.backward * sum[2]);
}

KERNEL_INLINE void weigh_sites(size_t n, size_t words, const quad& all, const double* quads, size_t n_sites,
                               size_t n_observed, const uint64_t* bits, const state_weight* weights,
                               double (*by_allele)[2]) {
    constexpr double smallest_normal = 2.2250738585072014e-308;
    const uint64_t last_word = n % 64 != 0 ? (uint64_t{1} << (n % 64)) - 1 : ~uint64_t{0};
    for (size_t i = 0; i < n_sites; ++i, bits += words) {
        const double of_all = weigh(all, weights[i]);
        size_t n_ones = 0;
        for (size_t w = 0; w < words; ++w) n_ones += static_cast<size_t>(__builtin_popcountll(bits[w]));
        const size_t fewer = 2 * n_ones <= n ? 1 : 0;
        const uint64_t flip = fewer == 1 ? 0 : ~uint64_t{0};
        const double carried = weigh(sum_of_classes(words, last_word, quads, bits, flip), weights[i]);
        const bool one_allele = n_ones == 0 || n_ones == n;
        double others = of_all - carried;
        if (i < n_observed) others = weigh(sum_of_classes(words, last_word, quads, bits, ~flip), weights[i]);
        by_allele[i][fewer] = carried;
        by_allele[i][1 - fewer] = one_allele && of_all > smallest_normal ? 1.0 : others;
    }
}

void weigh_by_class(size_t n, const class_sums& forward, const class_image& left, const class_sums& backward,
                    const class_image& right, const double* products, size_t n_sites, size_t n_observed,
                    const uint64_t* bits, const state_weight* weights, double* quads, double (*by_allele)[2]) {
    lanes all_product = spread(0.0), all_before = spread(0.0), all_after = spread(0.0), all_size = spread(0.0);
    for (size_t c = 0; c < n; c += width) {
        const lanes f = load(left.factor + c), x = load(left.arrived + c), size = load(forward.size + c);
        const lanes g = load(right.factor + c), y = load(right.arrived + c);
        const lanes of_f = f * load(forward.of_values + c), of_g = g * load(backward.of_values + c);
        const lanes product = (f * g * load(products + c) + of_f * y) + (x * of_g + x * y * size);
        const lanes before = of_f + x * size, after = of_g + y * size;
        store_quads(quads + c * 4, product, before, after, size);
        all_product = all_product + product;
        all_before = all_before + before;
        all_after = all_after + after;
        all_size = all_size + size;
    }
    const quad all{total(all_product), total(all_before), total(all_after), total(all_size)};
    if (n <= 64) {
        weigh_sites(n, 1, all, quads, n_sites, n_observed, bits, weights, by_allele);
    } else if (n <= 128) {
        weigh_sites(n, 2, all, quads, n_sites, n_observed, bits, weights, by_allele);
    } else {
        weigh_sites(n, (n + 63) / 64, all, quads, n_sites, n_observed, bits, weights, by_allele);
    }
}
