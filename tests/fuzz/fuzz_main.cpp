// The entry of libFuzzer. FUZZ_KIND, one of fuzz_kinds(), comes from the build.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "fuzz/fuzz_run.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t n) {
    const auto fault = fuzz_run(FUZZ_KIND, {bytes, n});
    if (!fault) return 0;
    std::fprintf(stderr, "fuzz: %s\n", fault->c_str());
    std::abort();
}
