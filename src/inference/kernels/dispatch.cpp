// Chooses the kernels for the machine.

#include <initializer_list>

#include "inference/kernels/kernels.h"

namespace kernels {

namespace baseline {
extern const table kernel_table;
}
#if defined(ORVIDE_X86_LEVELS)
namespace avx2 {
extern const table kernel_table;
}
namespace avx512 {
extern const table kernel_table;
}
#endif

bool available(level l) {
#if defined(ORVIDE_X86_LEVELS)
    if (l == level::avx512) {
        return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
               __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512bw") && available(level::avx2);
    }
    if (l == level::avx2) {
        return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("popcnt") && __builtin_cpu_supports("bmi");
    }
#endif
    return l == level::baseline;
}

const table& at(level l) {
#if defined(ORVIDE_X86_LEVELS)
    if (l == level::avx512) return avx512::kernel_table;
    if (l == level::avx2) return avx2::kernel_table;
#endif
    static_cast<void>(l);
    return baseline::kernel_table;
}

namespace {

const table* best() {
    for (const level l : {level::avx512, level::avx2}) {
        if (available(l)) return &at(l);
    }
    return &at(level::baseline);
}

const table*& chosen() {
    static const table* kernels_in_use = best();
    return kernels_in_use;
}

}  // namespace

const table& active() {
    return *chosen();
}

void choose(level l) {
    chosen() = &at(l);
}

}  // namespace kernels
