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
# clang-format says "FILE:LINE:COLUMN: error: ..." for each place that differs.
mapfile -t wrong < <(printf '%s\0' "${files[@]}" |
    xargs -0 -n 16 -P "$(nproc)" clang-format --dry-run --Werror 2>&1 | sed -n 's/:[0-9]*:[0-9]*: error: .*//p' | sort -u)
for file in "${wrong[@]}"; do
    echo "format: $file differs; scripts/check_format.sh --fix mends it"
done
echo "format: ${#files[@]} files checked, ${#wrong[@]} differ"
[[ ${#wrong[@]} -eq 0 ]]
