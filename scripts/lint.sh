#!/usr/bin/env bash
# Runs clang-tidy, with the checks of .clang-tidy, over the program's sources; needs a configured release build.
#
# usage: scripts/lint.sh [--analyze] [FILE ...]
#
# --analyze  follow the paths through each function, too (clang-analyzer): three times as slow
#
# Without files, all of src/. A file whose text, headers and checks are those of an earlier clean run is passed over.
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
    mapfile -t files < <(find src -name '*.cpp' | sort)
fi

# One sum stands for everything that a file's result rests on, but for the files of the system.
common=$(cat .clang-tidy "$build/compile_commands.json" $(find src -name '*.h' | sort) <(clang-tidy --version; echo "$checks") | sha256sum)
pending=()
for file in "${files[@]}"; do
    sum=$( (echo "$common"; cat "$file") | sha256sum | cut -d ' ' -f 1)
    [[ -e $clean/$sum ]] || pending+=("$file:$sum")
done

lint_one() {
    local file=${1%:*} sum=${1##*:}
    if report=$(clang-tidy --quiet -p "$build" ${checks:+"--checks=$checks"} "$file" 2>&1); then
        touch "$clean/$sum"
    else
        printf '%s\n' "$report"
        return 1
    fi
}
export -f lint_one
export build clean checks
status=0
if [[ ${#pending[@]} -gt 0 ]]; then
    printf '%s\n' "${pending[@]}" | xargs -P "${ORVIDE_JOBS:-$(nproc)}" -I '{}' bash -c 'lint_one "$1"' _ '{}' || status=1
fi
if [[ $status -eq 0 ]]; then
    echo "lint: all ${#files[@]} files are clean (${#pending[@]} looked at anew)"
else
    echo "lint: see the findings above"
fi
exit "$status"
