// Eight doubles that are added, multiplied and chosen side by side, as vectors of the width that the including file is
// compiled for: one of eight, two of four, or four of two. Every width gives the same bytes. Included inside the
// namespace of a level; nothing of the standard library is used, since an inline function compiled for one instruction
// set must not be shared with the others.

constexpr size_t width = lane_count;

#if defined(__AVX512F__) && defined(__AVX512DQ__)
#define KERNEL_PART 8
#elif defined(__AVX2__)
#define KERNEL_PART 4
#else
#define KERNEL_PART 2
#endif

typedef double part __attribute__((vector_size(8 * KERNEL_PART)));
typedef long long int_part __attribute__((vector_size(8 * KERNEL_PART)));
// The same in memory, where plain numbers stand.
typedef double stored_part __attribute__((vector_size(8 * KERNEL_PART), may_alias));
typedef long long stored_int_part __attribute__((vector_size(8 * KERNEL_PART), may_alias));

#define KERNEL_INLINE inline __attribute__((always_inline))

KERNEL_INLINE part spread_part(double x) {
#if KERNEL_PART == 8
    return part{x, x, x, x, x, x, x, x};
#elif KERNEL_PART == 4
    return part{x, x, x, x};
#else
    return part{x, x};
#endif
}

// Several parts in a row.
template <typename Half>
struct two {
    Half low, high;
};

template <typename Half>
KERNEL_INLINE two<Half> operator+(const two<Half>& a, const two<Half>& b) {
    return {a.low + b.low, a.high + b.high};
}
template <typename Half>
KERNEL_INLINE two<Half> operator*(const two<Half>& a, const two<Half>& b) {
    return {a.low * b.low, a.high * b.high};
}

KERNEL_INLINE void read(const double* p, part& v) {
    v = *reinterpret_cast<const stored_part*>(p);
}
KERNEL_INLINE void write(double* p, const part& v) {
    *reinterpret_cast<stored_part*>(p) = v;
}
KERNEL_INLINE void fill(double x, part& v) {
    v = spread_part(x);
}
template <typename Half>
KERNEL_INLINE void read(const double* p, two<Half>& v) {
    read(p, v.low);
    read(p + sizeof(Half) / sizeof(double), v.high);
}
template <typename Half>
KERNEL_INLINE void write(double* p, const two<Half>& v) {
    write(p, v.low);
    write(p + sizeof(Half) / sizeof(double), v.high);
}
template <typename Half>
KERNEL_INLINE void fill(double x, two<Half>& v) {
    fill(x, v.low);
    fill(x, v.high);
}

#if KERNEL_PART == 8

using lanes = part;
using mask = __mmask8;

// The lanes whose bit of a byte is set.
KERNEL_INLINE mask lane_mask(unsigned byte) {
    return static_cast<mask>(byte);
}
KERNEL_INLINE mask inverse(mask m) {
    return static_cast<mask>(~m);
}
KERNEL_INLINE lanes select(mask m, const lanes& when_set, const lanes& when_clear) {
    return reinterpret_cast<lanes>(
        _mm512_mask_blend_pd(m, reinterpret_cast<__m512d>(when_clear), reinterpret_cast<__m512d>(when_set)));
}
KERNEL_INLINE lanes keep(mask m, const lanes& v) {
    return reinterpret_cast<lanes>(_mm512_maskz_mov_pd(m, reinterpret_cast<__m512d>(v)));
}
// v with the lanes of the mask multiplied.
KERNEL_INLINE lanes multiply_some(const lanes& v, mask m, const lanes& factor) {
    return reinterpret_cast<lanes>(_mm512_mask_mul_pd(reinterpret_cast<__m512d>(v), m, reinterpret_cast<__m512d>(v),
                                                      reinterpret_cast<__m512d>(factor)));
}
// sum plus the lanes of v that the mask keeps.
KERNEL_INLINE lanes add_kept(const lanes& sum, mask m, const lanes& v) {
    return reinterpret_cast<lanes>(_mm512_mask_add_pd(reinterpret_cast<__m512d>(sum), m, reinterpret_cast<__m512d>(sum),
                                                      reinterpret_cast<__m512d>(v)));
}

#else

// All ones where a bit is set, for each value of KERNEL_PART bits.
struct mask_table {
    alignas(8 * KERNEL_PART) long long entry[1U << KERNEL_PART][KERNEL_PART];
};
constexpr mask_table make_masks() {
    mask_table table{};
    for (unsigned bits = 0; bits < (1U << KERNEL_PART); ++bits) {
        for (unsigned i = 0; i < KERNEL_PART; ++i) table.entry[bits][i] = ((bits >> i) & 1U) != 0 ? -1 : 0;
    }
    return table;
}
constexpr mask_table masks = make_masks();

KERNEL_INLINE int_part part_mask(unsigned bits) {
    return *reinterpret_cast<const stored_int_part*>(masks.entry[bits & ((1U << KERNEL_PART) - 1)]);
}

KERNEL_INLINE part select(const int_part& m, const part& when_set, const part& when_clear) {
    return reinterpret_cast<part>((m & reinterpret_cast<int_part>(when_set)) |
                                  (~m & reinterpret_cast<int_part>(when_clear)));
}
KERNEL_INLINE part keep(const int_part& m, const part& v) {
    return reinterpret_cast<part>(m & reinterpret_cast<int_part>(v));
}
KERNEL_INLINE int_part inverse(const int_part& m) {
    return ~m;
}
template <typename Half>
KERNEL_INLINE two<Half> inverse(const two<Half>& m) {
    return {inverse(m.low), inverse(m.high)};
}
template <typename MaskHalf, typename Half>
KERNEL_INLINE two<Half> select(const two<MaskHalf>& m, const two<Half>& when_set, const two<Half>& when_clear) {
    return {select(m.low, when_set.low, when_clear.low), select(m.high, when_set.high, when_clear.high)};
}
template <typename MaskHalf, typename Half>
KERNEL_INLINE two<Half> keep(const two<MaskHalf>& m, const two<Half>& v) {
    return {keep(m.low, v.low), keep(m.high, v.high)};
}

#if KERNEL_PART == 4
using lanes = two<part>;
using mask = two<int_part>;
KERNEL_INLINE mask lane_mask(unsigned byte) {
    return {part_mask(byte), part_mask(byte >> 4)};
}
#else
using lanes = two<two<part> >;
using mask = two<two<int_part> >;
KERNEL_INLINE mask lane_mask(unsigned byte) {
    return {{part_mask(byte), part_mask(byte >> 2)}, {part_mask(byte >> 4), part_mask(byte >> 6)}};
}
#endif

KERNEL_INLINE lanes add_kept(const lanes& sum, const mask& m, const lanes& v) {
    return sum + keep(m, v);
}

#endif

KERNEL_INLINE lanes load(const double* p) {
    lanes v;
    read(p, v);
    return v;
}
KERNEL_INLINE void store(double* p, const lanes& v) {
    write(p, v);
}
KERNEL_INLINE lanes spread(double x) {
    lanes v;
    fill(x, v);
    return v;
}

// Sums of the even and of the odd lanes.
typedef double pair __attribute__((vector_size(16)));
typedef double stored_pair __attribute__((vector_size(16), may_alias));
#if KERNEL_PART == 2
KERNEL_INLINE pair fold(const lanes& v) {
    return (v.low.low + v.high.low) + (v.low.high + v.high.high);
}
#else
typedef double quarter __attribute__((vector_size(32)));
KERNEL_INLINE pair fold(const lanes& v) {
#if KERNEL_PART == 8
    const quarter half = __builtin_shufflevector(v, v, 0, 1, 2, 3) + __builtin_shufflevector(v, v, 4, 5, 6, 7);
#else
    const quarter half = v.low + v.high;
#endif
    return __builtin_shufflevector(half, half, 0, 1) + __builtin_shufflevector(half, half, 2, 3);
}
#endif

#if KERNEL_PART != 8
KERNEL_INLINE lanes multiply_some(const lanes& v, const mask& m, const lanes& factor) {
    return v * select(m, factor, spread(1.0));
}
#endif

KERNEL_INLINE double total(const lanes& v) {
    const pair sums = fold(v);
    return sums[0] + sums[1];
}
// The totals of four, each added up like one: those of the first two and those of the last two.
struct four_totals {
    pair low, high;
};
#if KERNEL_PART == 8
KERNEL_INLINE four_totals totals(const lanes (&v)[4]) {
    const lanes halves_01 = __builtin_shufflevector(v[0], v[1], 0, 1, 2, 3, 8, 9, 10, 11) +
                            __builtin_shufflevector(v[0], v[1], 4, 5, 6, 7, 12, 13, 14, 15);
    const lanes halves_23 = __builtin_shufflevector(v[2], v[3], 0, 1, 2, 3, 8, 9, 10, 11) +
                            __builtin_shufflevector(v[2], v[3], 4, 5, 6, 7, 12, 13, 14, 15);
    const lanes pairs = __builtin_shufflevector(halves_01, halves_23, 0, 1, 4, 5, 8, 9, 12, 13) +
                        __builtin_shufflevector(halves_01, halves_23, 2, 3, 6, 7, 10, 11, 14, 15);
    const lanes sums = pairs + __builtin_shufflevector(pairs, pairs, 1, 0, 3, 2, 5, 4, 7, 6);
    const quarter each = __builtin_shufflevector(sums, sums, 0, 2, 4, 6);
    return {__builtin_shufflevector(each, each, 0, 1), __builtin_shufflevector(each, each, 2, 3)};
}
#else
KERNEL_INLINE pair totals(const lanes& v, const lanes& w) {
    const pair a = fold(v), b = fold(w);
    return __builtin_shufflevector(a, b, 0, 2) + __builtin_shufflevector(a, b, 1, 3);
}
KERNEL_INLINE four_totals totals(const lanes (&v)[4]) {
    return {totals(v[0], v[1]), totals(v[2], v[3])};
}
#endif

// The eight bits from state k on, k a multiple of 8.
KERNEL_INLINE unsigned byte_at(const uint64_t* bits, size_t k) {
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    return reinterpret_cast<const unsigned char*>(bits)[k / 8];
#else
    return static_cast<unsigned>((bits[k / 64] >> (k % 64)) & 0xffU);
#endif
}
KERNEL_INLINE mask mask_at(const uint64_t* bits, size_t k) {
    return lane_mask(byte_at(bits, k));
}
// The first n lanes, n at most 8.
KERNEL_INLINE mask first_lanes(size_t n) {
    return lane_mask((1U << n) - 1);
}
