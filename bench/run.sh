#!/usr/bin/env bash
# Builds the benchmarks of the numeric kernels in build/release and runs them.
#
# usage: bench/run.sh [GOOGLE BENCHMARK OPTION ...]
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/build.sh release -DORVIDE_BENCH=ON
binary=build/release/bench/orvide_bench
if [[ ! -x $binary ]]; then
    echo "there is no benchmark yet: no bench/*_bench.cpp" >&2
    exit 1
fi
"$binary" "$@"
