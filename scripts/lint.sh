#!/usr/bin/env bash
# Runs clang-tidy, with the checks of .clang-tidy, over the program's sources; needs a configured release build.
#
# usage: scripts/lint.sh [--analyze] [FILE ...]
#
# --analyze  follow the paths through each function, too (clang-analyzer): three times as slow
#
# Without files, all of src/, ten sources at a time (ORVIDE_TOGETHER), since most of the time goes into the headers of the system. What is
# as it was in an earlier clean run is passed over.
set -euo pipefail
cd "$(dirname "$0")/.."

build=build/release
clean=build/lint
mkdir -p "$clean"
checks=
if [[ ${1:-} == --analyze ]]; then
    checks=clang-analyzer-*
    shift
fi
if [[ $# -gt 0 ]]; then
    files=("$@")
else
    cmake -S . -B build/together -G Ninja -DCMAKE_BUILD_TYPE=Release -DORVIDE_TESTS=OFF -DORVIDE_TOGETHER=ON \
        -DCMAKE_EXPORT_COMPILE_COMMANDS=ON >"$clean/configure.log"
    mapfile -t files < <(python3 -c 'import json, sys; print("\n".join(sorted(unit["file"] for unit in json.load(sys.stdin))))' \
        <build/together/compile_commands.json)
fi

# The sources of a file: those that it puts together, or itself.
sources_of() {
    [[ $1 == */unity_*.cxx ]] && sed -n 's/^#include "\(.*\)"$/\1/p' "$1" || echo "$1"
}

# One sum stands for everything that a file's result rests on, but for the files of the system.
common=$(cat .clang-tidy "$build/compile_commands.json" $(find src -name '*.h' | sort) <(clang-tidy --version; echo "$checks") | sha256sum)
pending=()
for file in "${files[@]}"; do
    sum=$( (echo "$common"; sources_of "$file" | xargs cat) | sha256sum | cut -d ' ' -f 1)
    [[ -e $clean/$sum ]] || pending+=("$file:$sum")
done

tidy() {
    local from=$build chosen=$checks
    [[ $1 == */unity_*.cxx ]] && from=build/together chosen=${checks:+$checks,}-bugprone-suspicious-include
    clang-tidy --quiet -p "$from" ${chosen:+"--checks=$chosen"} "$1" 2>&1
}

lint_one() {
    local file=${1%:*} sum=${1##*:} report status=0
    report=$(tidy "$file") || status=1
    [[ $status -ne 0 ]] || touch "$clean/$sum"
    [[ $status -eq 0 ]] || printf '%s\n' "$report"
    return $status
}
export -f lint_one tidy sources_of
export build clean checks
status=0
if [[ ${#pending[@]} -gt 0 ]]; then
    printf '%s\n' "${pending[@]}" | xargs -P "${ORVIDE_JOBS:-$(nproc)}" -I '{}' bash -c 'lint_one "$1"' _ '{}' || status=1
fi
if [[ $status -eq 0 ]]; then
    echo "lint: all ${#files[@]} units are clean (${#pending[@]} looked at anew)"
else
    echo "lint: see the findings above"
fi
exit "$status"
