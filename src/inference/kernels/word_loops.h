// What is done with words of bits: distances, ranks and transpositions. Included inside the namespace of a level, after
// the lanes.

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
        const word_part u = *reinterpret_cast<const stored_word_part*>(x + w);
        const word_part v = *reinterpret_cast<const stored_word_part*>(y + w);
        sum += set_bits(u ^ v);
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

// Haplotypes on their way into two orders: the zeros go to the front of where they come from.
struct parted_haplotypes {
    sorted_haplotype *zeros, *ones;
};

KERNEL_INLINE uint32_t part_one_by_one(const sorted_haplotype* from, size_t n, unsigned bit, parted_haplotypes& to) {
    uint32_t alleles = 0;
    for (size_t i = 0; i < n; ++i) {
        const sorted_haplotype hap = from[i];
        const uint32_t one = (hap.alleles >> bit) & 1U;
        alleles |= one << i;
        *to.zeros = hap;
        *to.ones = hap;
        to.zeros += 1 - one;
        to.ones += one;
    }
    return alleles;
}

KERNEL_INLINE uint32_t part_32(const sorted_haplotype* from, unsigned bit, parted_haplotypes& to) {
#if KERNEL_PART == 8
    const word_part tested = word_part{} + (uint64_t{1} << (32 + bit));  // alleles are the high half
    uint32_t alleles = 0;
    for (unsigned i = 0; i < 32; i += 8) {
        const __m512i haps = _mm512_loadu_si512(from + i);
        const __mmask8 ones = _mm512_test_epi64_mask(haps, reinterpret_cast<__m512i>(tested));
        alleles |= static_cast<uint32_t>(ones) << i;
        // What is written too much lies where all has been read, or where more will be written.
        _mm512_storeu_si512(to.zeros, _mm512_maskz_compress_epi64(static_cast<__mmask8>(~ones), haps));
        _mm512_storeu_si512(to.ones, _mm512_maskz_compress_epi64(ones, haps));
        const auto n_ones = static_cast<size_t>(__builtin_popcount(ones));
        to.zeros += 8 - n_ones;
        to.ones += n_ones;
    }
    return alleles;
#else
    return part_one_by_one(from, 32, bit, to);
#endif
}

void sort_by_allele(size_t n, unsigned bit, sorted_haplotype* haps, sorted_haplotype* scratch, ranked_alleles* ranked) {
    parted_haplotypes to{haps, scratch};
    for (size_t first = 0; first <= n; first += 32, ++ranked) {
        ranked->ones_before = static_cast<uint32_t>(to.ones - scratch);
        ranked->ones =
            first + 32 <= n ? part_32(haps + first, bit, to) : part_one_by_one(haps + first, n - first, bit, to);
    }
    const auto n_ones = static_cast<size_t>(to.ones - scratch);
    if (n_ones > 0) __builtin_memcpy(to.zeros, scratch, n_ones * sizeof(sorted_haplotype));
}

KERNEL_INLINE uint64_t ones_before(const ranked_alleles* ranked, uint64_t place) {
    const ranked_alleles& word = ranked[place / 32];
    return word.ones_before + static_cast<uint64_t>(__builtin_popcount(word.ones & ((1U << (place % 32)) - 1U)));
}

#if KERNEL_PART == 8
typedef word_part some_places;
constexpr size_t places_at_once = 8;

KERNEL_INLINE word_part ones_before(const ranked_alleles* ranked, const word_part& places) {
    const __m512i words =
        _mm512_mask_i64gather_epi64(_mm512_setzero_si512(), 0xff, reinterpret_cast<__m512i>(places >> 5), ranked, 8);
    const word_part found = reinterpret_cast<word_part>(words), one = word_part{} + 1;
    return (found >> 32) + set_bits(found & ((one << (places & 31)) - 1));
}

KERNEL_INLINE word_part first_bits(uint64_t alleles) {
    const word_part at{0, 1, 2, 3, 4, 5, 6, 7};
    return ((word_part{} + alleles) >> at) & 1;
}
#else
typedef uint64_t some_places;
constexpr size_t places_at_once = 1;

KERNEL_INLINE uint64_t first_bits(uint64_t alleles) {
    return alleles & 1U;
}
#endif

// Before a target with allele 0 stand those with allele 0 that stood before; before one with allele 1 stand all with
// allele 0, too: the step of a backward search (Ferragina and Manzini 2000). There is no branch on what cannot be
// foreseen.
void pass_ranked(size_t n_hap, const ranked_alleles* ranked, uint64_t alleles, size_t n, uint64_t* places) {
    const uint64_t n_zeros = n_hap - ones_before(ranked, uint64_t{n_hap});
    for (size_t t = 0; t < n; t += places_at_once) {
        some_places place;
        __builtin_memcpy(&place, places + t, sizeof place);
        const some_places ones = ones_before(ranked, place), if_one = -first_bits(alleles >> t);
        place = place - ones + ((n_zeros + 2 * ones - place) & if_one);
        __builtin_memcpy(places + t, &place, sizeof place);
    }
}

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

// Transposition in three steps between words that are 32, 16 and 8 apart and three between those 4, 2 and 1 apart, each
// of which swaps the off-diagonal quarters of ever smaller squares (Warren 2012, 7-3, for 64 bits, least significant
// bit first).
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
    typedef uint64_t stored_word __attribute__((may_alias));  // the words may be those of doubles
    for (size_t i = 0; i < 8; ++i) {
        const auto* row = reinterpret_cast<const stored_word*>(from[i]);
        for (size_t j = 0; j < 8; ++j) reinterpret_cast<stored_word*>(to)[j * stride + i] = row[j];
    }
}
#endif
