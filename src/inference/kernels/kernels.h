#pragma once

// The inner loops of the sweeps, compiled for several instruction sets and chosen when the program starts. All work on
// blocks of eight doubles and sum in eight or sixteen lanes, whatever the machine: every level gives the same bytes.
//
// Vectors of K states are padded to a multiple of 8 with zeros, those of the model of one haplotype to a multiple of
// 16, and aligned to 64 bytes. Bit rows have bit k for state k; the bits past K are clear.

#include <cstddef>
#include <cstdint>

namespace kernels {

constexpr std::size_t lane_count = 8;
constexpr std::size_t padded(std::size_t n) {
    return (n + lane_count - 1) / lane_count * lane_count;
}

constexpr std::size_t haploid_padded(std::size_t n) {
    return (n + 2 * lane_count - 1) / (2 * lane_count) * (2 * lane_count);
}

// Triangular tables: row a holds the pairs (a, b) for b = 0 .. a, padded.
constexpr std::size_t triangle_row(std::size_t a) {
    const std::size_t group = a / lane_count;
    return lane_count * (4 * group * (group + 1) + (a % lane_count) * (group + 1));
}
constexpr std::size_t triangle_size(std::size_t K) {
    return triangle_row(K);
}

// What a backward step at a site gives.
struct backward_sums {
    double total;       // sum of the new vector
    double carried[2];  // sum of f * b over the states with allele 0, with allele 1
};

// Forward times backward value of a state at a site without observation, by the forward value f and the backward value
// c of the state at the observed sites beside it: product f c + forward f + backward c + each.
struct state_weight {
    double product, forward, backward, each;
};
// Sums over all states: of f c, of f, of c.
struct state_sums {
    double product, forward, backward;
};

// Classes of states with equal alleles over a block of sites, in vectors padded with zeros to a multiple of 8: the
// number of states of each, and the sum of their values at a border of the block.
struct class_sums {
    const double* size;
    const double* of_values;
};
// The values v of the states somewhere in the block, as seen from its border: factor v + arrived, by class.
struct class_image {
    double* factor;
    double* arrived;
};

// Pairs of the K states, where n_classes groups of them, the classes, have equal alleles over a stretch of sites.
struct pair_classes {
    std::size_t n_states, n_classes;
    const std::uint32_t* of_state;  // [K]: the class of a state
    const double* size;             // [n_classes]
    // [n_classes][padded K / 8][2][8]: of eight states with a class the sums over the pairs with all its states, that
    // of one state twice; and what arrived, see classes_to_pairs. Zeros past K.
    double* parts;
    double* factor;   // [n_classes][padded n_classes]: by the classes of both states
    double* scratch;  // [max(6, n_classes)][padded K]
};
// What leads into a site, and what is seen there.
struct class_site {
    double stay, constant;
    const double* shared;             // [padded K]
    const double* class_shared;       // [n_classes]: sums of shared over the states of a class
    const std::uint64_t* bits;        // alleles of the states
    const std::uint64_t* class_bits;  // alleles of the classes
    const double* e;                  // emissions by allele sum
};

// A haplotype in an order, with its alleles at the 32 sites around the one where the order is.
struct sorted_haplotype {
    std::uint32_t hap, alleles;
};
// 32 alleles of haplotypes that stand in an order.
struct ranked_alleles {
    std::uint32_t ones;         // bit i: allele of the i-th of them
    std::uint32_t ones_before;  // number of alleles 1 in the words before
};

struct table {
    // out[k] = (alpha f[k] + beta) m, m being m1 if the state's bit is set, else m0. Returns the sum of out.
    double (*haploid_forward)(std::size_t K, const double* f, double alpha, double beta, const std::uint64_t* bits,
                              double m0, double m1, double* out);
    // b[k] = alpha c[k] + beta; out[k] = b[k] m. f are the forward values at the site that b belongs to.
    backward_sums (*haploid_backward)(std::size_t K, const double* c, double alpha, double beta, const double* f,
                                      const std::uint64_t* bits, double m0, double m1, double* out);
    // products[k] = f[k] c[k]. Returns their sum.
    double (*multiply)(std::size_t K, const double* f, const double* c, double* products);
    // Weights of the states with allele 0 and with allele 1 at n_sites sites, whose rows of bits follow each other:
    // sums over the states with the rarer allele, the others from the sum over all states. Where all have one allele
    // its weight is 1, unless that sum says nothing. products[k] = f[k] c[k].
    void (*weigh_alleles)(std::size_t K, std::size_t n_sites, const std::uint64_t* bits, const double* f,
                          const double* c, const double* products, const state_sums& all, const state_weight* weights,
                          double (*by_allele)[2]);
    // The step of haploid_forward by n classes: from values v to (alpha v + beta) m. bits are the alleles of the
    // classes. to may be from. Returns the sum over all states.
    double (*enter_by_class)(std::size_t n, const class_sums& sums, const class_image& from, double alpha, double beta,
                             const std::uint64_t* bits, double m0, double m1, const class_image& to);
    // weigh_alleles by n classes: forward values left, backward values right of a stretch of sites; products are the
    // sums over the states of a class of the values at both borders. At the first n_observed sites neither allele is
    // had by subtraction. quads is scratch of 4 padded(n) values.
    void (*weigh_by_class)(std::size_t n, const class_sums& forward, const class_image& left,
                           const class_sums& backward, const class_image& right, const double* products,
                           std::size_t n_sites, std::size_t n_observed, const std::uint64_t* bits,
                           const state_weight* weights, double* quads, double (*by_allele)[2]);
    // Divides n values.
    void (*divide)(std::size_t n, double divisor, double* values);
    // Sum of n values, which are aligned and padded.
    double (*sum_of)(std::size_t n, const double* values);

    // One forward step of the triangular table of pairs, in the row sum form:
    // v = (t0 f[a][b] + (g[a] + g[b] + c)) e[allele sum], with half of what stands in the inner brackets where a is b.
    // bits are the alleles of the states at the site. Fills out, which may be f, row_out[K] (each pair in both its
    // rows, the pair of one state twice) and row_sums[K] (each pair in its row of the triangle only). emission_rows is
    // scratch of 2 padded(K) values. Returns the sum of out.
    double (*diploid_forward)(std::size_t K, const double* f, const double* g, double t0, double c,
                              const std::uint64_t* bits, const double* e, double* emission_rows, double* out,
                              double* row_out, double* row_sums);
    // The same step for the pairs of state a with every other: f and out, which may be f, have padded(K) values. What
    // pads out is not zero.
    void (*diploid_forward_row)(std::size_t K, std::size_t a, const double* f, const double* g, double t0, double c,
                                const std::uint64_t* bits, const double* e, double* out);
    // The same steps for all pairs over the stretch of the classes. First the sums over classes from the table f, with
    // nothing arrived and factor one. class_row[n_classes] gets the sums of the rows of all states of a class.
    void (*pairs_to_classes)(const pair_classes& to, const double* f, double* class_row);
    // One step of the sums; row_out[padded K] as above.
    void (*class_step)(const pair_classes& in, const class_site& site, double* row_out, double* class_row);
    // The table after the steps from that before, of states a of class A and b of class B:
    // out = factor[A][B] f + (arrived[B][a] + arrived[A][b]), with half of what stands in brackets where a is b. out
    // may be f.
    void (*classes_to_pairs)(const pair_classes& from, const double* f, double* out);
    // First half of a backward step: b *= e[allele sum], with row[K] (off-diagonal pairs in both rows) and the total
    // that counts off-diagonal pairs twice.
    double (*diploid_backward_emit)(std::size_t K, const std::uint64_t* bits, const double* e, double* b, double* row);
    // Second half: b = (c + g[a] + g[b]) + t0 b.
    void (*diploid_backward_move)(std::size_t K, const double* g, double t0, double c, double* b);
    // Sums of f * b over the pairs by allele sum 0, 1, 2.
    void (*diploid_class_sums)(std::size_t K, const double* f, const double* b, const std::uint64_t* bits,
                               double* sums);

    // The full square of ordered pairs, row a of K padded values. e4[x * 2 + y] is the emission of alleles x, y.
    // v = ((c + (g[a] + g[b])) + t0 f[a][b]) e4; row_out gets each entry in row a and in row b.
    double (*ordered_forward)(std::size_t K, const double* f, const double* g, double t0, double c,
                              const std::uint64_t* bits, const double* e4, double* out, double* row_out);
    double (*ordered_backward_emit)(std::size_t K, const std::uint64_t* bits, const double* e4, double* b, double* row);
    void (*ordered_backward_move)(std::size_t K, const double* g, double t0, double c, double* b);
    // Sums of f * b by allele pair x * 2 + y.
    void (*ordered_class_sums)(std::size_t K, const double* f, const double* b, const std::uint64_t* bits,
                               double* sums);

    // Numbers of bits in which row x differs from each of n_rows rows of n_words words.
    void (*distances)(std::size_t n_words, const std::uint64_t* x, std::size_t n_rows, const std::uint64_t* rows,
                      int* counts);
    // Sorts n haplotypes by allele: those whose bit is clear before those whose bit is set, else in their order. ranked
    // [n / 32 + 1] gets the alleles in the order before. scratch has room for n and 8 more.
    void (*sort_by_allele)(std::size_t n, unsigned bit, sorted_haplotype* haps, sorted_haplotype* scratch,
                           ranked_alleles* ranked);
    // From numbers of haplotypes that stand before some targets in an order, up to a site, to those in the order behind
    // it, in which those with allele 0 come first. ranked: alleles of the n_hap haplotypes at the site,
    // [n_hap / 32 + 1]; alleles: bit t is that of target t, clear past n; places: of n targets, 64 at most, padded with
    // zeros to a multiple of 8.
    void (*pass_ranked)(std::size_t n_hap, const ranked_alleles* ranked, std::uint64_t alleles, std::size_t n,
                        std::uint64_t* places);
    // Transposes a 64 x 64 bit block: bit j of word i of from goes to bit i of word j of to, which may be from.
    void (*transpose)(const std::uint64_t* from, std::uint64_t* to);
    // Transposes 8 x 8 words: to[j * stride + i] = from[i][j].
    void (*transpose_words)(const std::uint64_t* const* from, std::uint64_t* to, std::size_t stride);
};

enum class level { baseline, avx2, avx512 };

// Whether this machine runs a level.
bool available(level l);
// The kernels of a level that is available.
const table& at(level l);
// The kernels in use: the best level, unless another was chosen.
const table& active();
void choose(level l);

}  // namespace kernels
