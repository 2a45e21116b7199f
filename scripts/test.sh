#!/usr/bin/env bash
# Runs everything that checks ORVIDE: the tests of the release build, the same tests under AddressSanitizer and
# UndefinedBehaviorSanitizer, whole runs with threads under ThreadSanitizer, the checks of format and includes, the
# linter, and two checks that need data from elsewhere.
#
# usage: scripts/test.sh
#
# ORVIDE_GOLDEN         folder of stored whole runs with a check.py (skipped without)
# ORVIDE_GOLDEN_GROUPS  which groups of them, separated by blanks (all without)
# ORVIDE_REAL_DATA      folder of real data for scripts/check_real_data.sh (skipped without)
# ORVIDE_JOBS           compilers and tests at a time (default: all cores)
set -uo pipefail
cd "$(dirname "$0")/.." || exit 1

export ORVIDE_JOBS=${ORVIDE_JOBS:-$(nproc)}
summary=()
passed=0
failed=0
skipped=0

# step NAME COMMAND...: runs a command, notes how it ended and how long it took.
step() {
    local name=$1 start=$SECONDS result=passed
    shift
    printf '\n== %s\n' "$name"
    if "$@"; then
        passed=$((passed + 1))
    else
        failed=$((failed + 1))
        result=FAILED
    fi
    summary+=("$(printf '%-34s %-8s %4d s' "$name" "$result" "$((SECONDS - start))")")
    [[ $result == passed ]]
}

# skip NAME WHY
skip() {
    printf '\n== %s\nskipped: %s\n' "$1" "$2"
    skipped=$((skipped + 1))
    summary+=("$(printf '%-34s %-8s %s' "$1" skipped "$2")")
}

finish() {
    printf '\n== summary\n'
    printf '%s\n' "${summary[@]}"
    printf '%d passed, %d failed, %d skipped\n' "$passed" "$failed" "$skipped"
    [[ $failed -eq 0 ]]
    exit
}

step "packages" scripts/install_packages.sh || finish
step "format" scripts/check_format.sh
step "includes" scripts/check_includes.sh
step "release build" scripts/build.sh release -DORVIDE_TESTS=ON || finish
step "lint" scripts/lint.sh
step "release tests" ctest --preset release -j "$ORVIDE_JOBS" --progress --no-tests=error
if [[ -n ${ORVIDE_GOLDEN:-} ]]; then
    read -r -a groups <<<"${ORVIDE_GOLDEN_GROUPS:-}"
    step "stored whole runs" scripts/check_stored_runs.py build/release/orvide "$ORVIDE_GOLDEN" "${groups[@]}"
else
    skip "stored whole runs" "ORVIDE_GOLDEN names no folder"
fi
if [[ -n ${ORVIDE_REAL_DATA:-} ]]; then
    step "real data" scripts/check_real_data.sh build/release/orvide "$ORVIDE_REAL_DATA"
else
    skip "real data" "ORVIDE_REAL_DATA names no folder"
fi
if step "sanitizer build" scripts/build.sh sanitize -DORVIDE_TESTS=ON; then
    # The same tests as ctest runs, without a process for each: sanitized programs start slowly.
    export LSAN_OPTIONS=suppressions=$PWD/tests/support/leaks.txt:print_suppressions=0
    step "sanitizer unit tests" build/sanitize/tests/orvide_tests --gtest_brief=1
    step "sanitizer whole runs" python3 tests/run/run_cases.py --binary build/sanitize/orvide
fi
if step "thread sanitizer build" scripts/build.sh tsan; then
    step "thread sanitizer whole runs" python3 tests/run/run_cases.py --binary build/tsan/orvide --extra "-threads 3"
fi
if command -v clang++ >/dev/null; then
    step "fuzzing, 30 seconds" scripts/fuzz.sh 30
else
    skip "fuzzing, 30 seconds" "clang++ is not installed"
fi
finish
