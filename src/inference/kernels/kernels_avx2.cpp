#define KERNEL_LEVEL avx2
#include "inference/kernels/kernels_impl.h"
