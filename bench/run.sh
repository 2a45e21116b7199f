#!/usr/bin/env bash
# Measures the program: the numeric kernels at every instruction set that the machine has, then whole runs on coalescent
# data, which are made in build/bench when they are not there yet. Tables go to standard output.
#
# usage: bench/run.sh [kernels|runs] [OPTION ...]
#
# Without a word, both. Options go to the benchmark library (kernels) or to bench/whole_runs.py (runs).
set -euo pipefail
cd "$(dirname "$0")/.."

what=${1:-all}
[[ $# -eq 0 ]] || shift
case $what in
    all | kernels | runs) ;;
    *)
        echo "bench/run.sh: kernels or runs, not $what" >&2
        exit 1
        ;;
esac

scripts/install_packages.sh scrm python3-matplotlib
scripts/build.sh release -DORVIDE_BENCH=ON
if [[ $what != runs ]]; then
    for level in avx512 avx2 baseline; do
        printf '\n== kernels, %s\n' "$level"
        build/release/bench/orvide_bench "--level=$level" "$@" || true # the machine may lack it
    done
fi
if [[ $what != kernels ]]; then
    printf '\n== whole runs\n'
    [[ $# -gt 0 ]] || set -- --plot build/bench/growth.svg
    /usr/bin/python3 bench/whole_runs.py "$@" # the one for which Debian's packages are installed
fi
