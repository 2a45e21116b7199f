#define KERNEL_LEVEL baseline
#include "inference/kernels/kernels_impl.h"
