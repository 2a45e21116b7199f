// The steps of the model of one haplotype. Included inside the namespace of a level, after the lanes.

// The vectors of one haplotype's model go in sixteens: two blocks side by side with sums of their own, so that one
// addition need not wait for the one before.
constexpr size_t n_partial = 2 * width;

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
    const auto put = [&even, &odd, out](size_t k, const lanes& v, const lanes& w) {
        store(out + k, v);
        store(out + k + width, w);
        even = even + v;
        odd = odd + w;
    };
    size_t k = 0;
    for (; k + n_partial <= K; k += n_partial) put(k, step(k), step(k + width));
    if (k < K) {
        const size_t n = K - k;
        put(k, keep(first_lanes(n < width ? n : width), step(k)),
            n > width ? keep(first_lanes(n - width), step(k + width)) : spread(0.0));
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
