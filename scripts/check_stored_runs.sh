#!/usr/bin/env bash
# Compares a binary with a folder of stored whole runs, which brings its own check.py.
#
# usage: scripts/check_stored_runs.sh BINARY FOLDER [GROUP ...]
#
# Without a group, all of them are compared.
set -euo pipefail

usage="usage: scripts/check_stored_runs.sh BINARY FOLDER [GROUP ...]"
binary=${1:?$usage}
folder=${2:?$usage}
shift 2

if [[ $# -eq 0 ]]; then
    exec python3 "$folder/check.py" "$binary"
fi
status=0
for group in "$@"; do
    echo "group $group:"
    python3 "$folder/check.py" "$binary" --group "$group" || status=1
done
exit "$status"
