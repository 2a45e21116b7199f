#!/usr/bin/env bash
# Checks that every C++ file is laid out as .clang-format says; with --fix, lays it out so.
#
# usage: scripts/check_format.sh [--fix]
set -euo pipefail
cd "$(dirname "$0")/.."

mapfile -d '' files < <(find src tests bench \( -name '*.h' -o -name '*.cpp' \) -type f -print0 | sort -z)
if [[ ${1:-} == --fix ]]; then
    clang-format -i "${files[@]}"
    echo "format: ${#files[@]} files laid out"
    exit 0
fi
if report=$(printf '%s\0' "${files[@]}" | xargs -0 -n 16 -P "$(nproc)" clang-format --dry-run --Werror 2>&1); then
    echo "format: all ${#files[@]} files are laid out as they should be"
    exit 0
fi
# clang-format says "FILE:LINE:COLUMN: error: ..." for each place that differs.
differing=$(sed -n 's/:[0-9]*:[0-9]*: error: .*//p' <<<"$report" | sort -u)
echo "format: these files differ; scripts/check_format.sh --fix mends them"
echo "${differing:-$report}"
exit 1
