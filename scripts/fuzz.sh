#!/usr/bin/env bash
# Builds the fuzzers with Clang and lets each kind of input have its share of the time. Begins with tests/fuzz/corpus and what
# earlier runs found worth keeping in build/fuzz/corpus; an input that ends a run in an unforeseen way is left in build/fuzz/found.
#
# The limit of one allocation is high since a record of BCF may claim to have 4 GB, for which the library asks.
#
# usage: scripts/fuzz.sh [SECONDS] [KIND ...]     600 seconds and all kinds by default
#
# ORVIDE_JOBS sets the number of fuzzers at a time (default: all cores). ORVIDE_FUZZ_SEED, from 1 on, is where the random
# numbers begin (default: 1).
set -uo pipefail
cd "$(dirname "$0")/.." || exit 1

seconds=${1:-600}
[[ $# -eq 0 ]] || shift
kinds=("$@")
if [[ ${#kinds[@]} -eq 0 ]]; then
    for folder in tests/fuzz/corpus/*/; do kinds+=("$(basename "$folder")"); done
fi
jobs=${ORVIDE_JOBS:-$(nproc)}
share=$((seconds * jobs / ${#kinds[@]}))
[[ $share -gt 0 ]] || share=1

if ! command -v clang++ >/dev/null; then
    echo "fuzz: clang++ is missing; it is in the Debian package clang" >&2
    exit 1
fi
scripts/build.sh fuzz || exit 1

fuzz_kind() {
    local kind=$1 folder=build/fuzz/corpus/$1
    mkdir -p "$folder" build/fuzz/found build/fuzz/logs
    "build/fuzz/tests/fuzz/fuzz_$kind" -max_total_time="$2" -max_len=4096 -entropic=0 -timeout=60 -rss_limit_mb=4096 -malloc_limit_mb=8192 \
        -seed="${ORVIDE_FUZZ_SEED:-1}" -dict=tests/fuzz/words.dict -artifact_prefix="build/fuzz/found/$kind-" \
        -print_final_stats=1 "$folder" "tests/fuzz/corpus/$kind" >"build/fuzz/logs/$kind" 2>&1
    local status=$?
    local runs
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "build/fuzz/logs/$kind")
    printf '%-22s %10s runs  %s\n' "$kind" "${runs:-no}" "$([[ $status -eq 0 ]] && echo clean || echo "FAILED: see build/fuzz/logs/$kind")"
    return $status
}
export -f fuzz_kind

echo "fuzz: $share seconds for each of ${#kinds[@]} kinds, $jobs at a time"
printf '%s\n' "${kinds[@]}" | xargs -P "$jobs" -I{} bash -c "fuzz_kind {} $share"
status=$?
total=$(cd build/fuzz/logs && sed -n 's/^stat::number_of_executed_units: *//p' "${kinds[@]}" | awk '{n += $1} END {print n + 0}')
echo "fuzz: $total runs in all"
[[ $status -eq 0 ]]
