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
wrong=0
for file in "${files[@]}"; do
    if ! clang-format --dry-run --Werror "$file" >/dev/null 2>&1; then
        echo "format: $file differs; scripts/check_format.sh --fix mends it"
        wrong=$((wrong + 1))
    fi
done
echo "format: ${#files[@]} files checked, $wrong differ"
[[ $wrong -eq 0 ]]
