// The kernels, in a namespace that the including file names by KERNEL_LEVEL. Nothing of the standard library is used
// here: an inline function compiled for one instruction set must not be shared with the others.

#if defined(__AVX512F__)
#include <immintrin.h>
#endif

#include "inference/kernels/kernels.h"

namespace kernels::KERNEL_LEVEL {

namespace {

using std::size_t;
using std::uint32_t;
using std::uint64_t;

#include "inference/kernels/lanes.h"

void divide(size_t n, double divisor, double* values) {
    for (size_t i = 0; i < n; ++i) values[i] /= divisor;
}

double sum_of(size_t n, const double* values) {
    lanes sum = spread(0.0);
    for (size_t k = 0; k < n; k += width) sum = sum + load(values + k);
    return total(sum);
}

#include "inference/kernels/haploid_loops.h"

#include "inference/kernels/carrier_loops.h"

#include "inference/kernels/haploid_class_loops.h"

#include "inference/kernels/pair_loops.h"

#include "inference/kernels/word_loops.h"

#include "inference/kernels/pair_class_loops.h"

}  // namespace

extern const table kernel_table;
const table kernel_table{haploid_forward,
                         haploid_backward,
                         multiply,
                         weigh_alleles,
                         enter_by_class,
                         weigh_by_class,
                         divide,
                         sum_of,
                         diploid_forward,
                         diploid_forward_row,
                         pairs_to_classes,
                         class_step,
                         classes_to_pairs,
                         diploid_backward_emit,
                         diploid_backward_move,
                         diploid_class_sums,
                         ordered_forward,
                         ordered_backward_emit,
                         ordered_backward_move,
                         ordered_class_sums,
                         distances,
                         sort_by_allele,
                         pass_ranked,
                         transpose,
                         transpose_words};

}  // namespace kernels::KERNEL_LEVEL
