#define KERNEL_LEVEL avx512
#include "inference/kernels/kernels_impl.h"
