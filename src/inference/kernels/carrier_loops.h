// Posterior weights at sites without observation, from the states that carry the rarer allele. Included inside the
// namespace of a level, after the steps of one haplotype.

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
                   const double* products, const state_sums& all, const state_weight* weights, double (*by_allele)[2]) {
    constexpr double smallest_normal = 2.2250738585072014e-308;
    const auto n_states = static_cast<double>(K);
    const carrier_step step{K, f, c, products};
    const size_t words = (K + 63) / 64;
    for (size_t i = 0; i < n_sites; ++i, bits += words) {
        size_t n_ones = 0;
#pragma GCC unroll 8
        for (size_t w = 0; w < words; ++w) n_ones += static_cast<size_t>(__builtin_popcountll(bits[w]));
        const size_t rarer = 2 * n_ones <= K ? 1 : 0;
        const size_t n = rarer == 1 ? n_ones : K - n_ones;
        const state_weight& w = weights[i];
        const double of_all =
            (w.product * all.product + w.each * n_states) + (w.forward * all.forward + w.backward * all.backward);
        if (n == 0) {
            by_allele[i][rarer] = 0.0;
            by_allele[i][1 - rarer] = of_all > smallest_normal ? 1.0 : of_all;
            continue;
        }
        carrier_step::running_sums sums;
        step.add_all(bits, rarer == 1 ? 0 : ~uint64_t{0}, sums);
        const lanes lane_sums = (sums.product.even + sums.product.odd) * spread(w.product) +
                                ((sums.forward.even + sums.forward.odd) * spread(w.forward) +
                                 (sums.backward.even + sums.backward.odd) * spread(w.backward));
        const double carried = total(lane_sums) + static_cast<double>(n) * w.each;
        by_allele[i][rarer] = carried;
        by_allele[i][1 - rarer] = of_all - carried;
    }
}
