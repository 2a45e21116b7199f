#!/usr/bin/env bash
# Says where an include of src/ points up the tree, or from one of the folders of equal rank to another.
#
# usage: scripts/check_includes.sh
set -euo pipefail
cd "$(dirname "$0")/../src"

declare -A rank=([run]=6 [chromosome]=6 [reconcile]=5 [inference]=5 [output]=5 [input]=4 [params]=3 [model]=2 [random]=1 [io]=1 [threads]=0)
found=0
while IFS=: read -r file line include; do
    from=${file%%/*}
    to=$(sed 's/.*"\([a-z]*\)\/.*/\1/' <<<"$include")
    [[ $from == "$to" ]] && continue
    if [[ -z ${rank[$to]:-} || ${rank[$to]} -ge ${rank[$from]} ]]; then
        echo "src/$file:$line: $include"
        found=$((found + 1))
    fi
done < <(grep -rn '#include "' --include='*.h' --include='*.cpp' . | sed 's/^\.\///')
echo "includes: $found point up the tree"
[[ $found -eq 0 ]]
