// The model of one haplotype by classes of states with equal alleles over a block of sites. The value of state k of
// class c is factor[c] f[k] + arrived[c], f being the values at the border of the block. Included inside the namespace
// of a level, after the steps of one haplotype.

double enter_by_class(size_t n, const class_sums& sums, double alpha, double beta, const uint64_t* bits, double m0,
                      double m1, const class_image& at) {
    const lanes a = spread(alpha), b = spread(beta), e0 = spread(m0), e1 = spread(m1);
    lanes sum = spread(0.0);
    for (size_t c = 0; c < n; c += width) {
        const lanes m = select(mask_at(bits, c), e1, e0);
        const lanes factor = load(at.factor + c) * a * m;
        const lanes arrived = (load(at.arrived + c) * a + b) * m;
        store(at.factor + c, factor);
        store(at.arrived + c, arrived);
        sum = sum + (factor * load(sums.of_values + c) + arrived * load(sums.size + c));
    }
    return total(sum);
}

// Weights at a site of the classes whose bits are set: sums over them, by what stands beside the site.
struct class_weights {
    const double* product;
    const double* forward;
    const double* backward;
    const double* size;

    KERNEL_INLINE double of(size_t n, const uint64_t* bits, uint64_t flip, const state_weight& w) const {
        double in_product = 0.0, in_forward = 0.0, in_backward = 0.0, in_size = 0.0;
        for (size_t first = 0; first < n; first += 64) {
            uint64_t in = bits[first / 64] ^ flip;
            if (n - first < 64) in &= (uint64_t{1} << (n - first)) - 1;
            for (; in != 0; in &= in - 1) {
                const size_t c = first + static_cast<size_t>(__builtin_ctzll(in));
                in_product += product[c];
                in_forward += forward[c];
                in_backward += backward[c];
                in_size += size[c];
            }
        }
        return (w.product * in_product + w.each * in_size) + (w.forward * in_forward + w.backward * in_backward);
    }
};

void weigh_by_class(size_t n, const class_sums& forward, const class_image& left, const class_sums& backward,
                    const class_image& right, const double* products, size_t n_sites, size_t n_observed,
                    const uint64_t* bits, const state_weight* weights, double* scratch, double (*by_allele)[2]) {
    const size_t stride = padded(n), words = (n + 63) / 64;
    lanes all_product = spread(0.0), all_before = spread(0.0), all_after = spread(0.0), all_size = spread(0.0);
    for (size_t c = 0; c < n; c += width) {
        const lanes f = load(left.factor + c), x = load(left.arrived + c), size = load(forward.size + c);
        const lanes g = load(right.factor + c), y = load(right.arrived + c);
        const lanes of_f = f * load(forward.of_values + c), of_g = g * load(backward.of_values + c);
        const lanes product = (f * g * load(products + c) + of_f * y) + (x * of_g + x * y * size);
        const lanes before = of_f + x * size, after = of_g + y * size;
        store(scratch + c, product);
        store(scratch + stride + c, before);
        store(scratch + 2 * stride + c, after);
        all_product = all_product + product;
        all_before = all_before + before;
        all_after = all_after + after;
        all_size = all_size + size;
    }
    const double product = total(all_product), before = total(all_before), after = total(all_after);
    const double n_states = total(all_size);
    const class_weights by_class{scratch, scratch + stride, scratch + 2 * stride, forward.size};
    constexpr double smallest_normal = 2.2250738585072014e-308;
    for (size_t i = 0; i < n_sites; ++i, bits += words) {
        const state_weight& w = weights[i];
        const double of_all = (w.product * product + w.each * n_states) + (w.forward * before + w.backward * after);
        size_t n_ones = 0;
        for (size_t word = 0; word < words; ++word) n_ones += static_cast<size_t>(__builtin_popcountll(bits[word]));
        const size_t fewer = 2 * n_ones <= n ? 1 : 0;
        if (n_ones == 0 || n_ones == n) {
            by_allele[i][fewer] = 0.0;
            by_allele[i][1 - fewer] = of_all > smallest_normal ? 1.0 : of_all;
            continue;
        }
        const uint64_t flip = fewer == 1 ? 0 : ~uint64_t{0};
        by_allele[i][fewer] = by_class.of(n, bits, flip, w);
        by_allele[i][1 - fewer] = i < n_observed ? by_class.of(n, bits, ~flip, w) : of_all - by_allele[i][fewer];
    }
}
