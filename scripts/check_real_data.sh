#!/usr/bin/env bash
# Imputes a stretch of real data with default settings and checks the squared correlation with the known genotypes at the
# sites that the study did not type.
#
# usage: scripts/check_real_data.sh BINARY FOLDER
#
# FOLDER holds study.gen.gz, ref.hap.gz, ref.legend.gz, map.txt and truth.gen.gz. The results are kept in
# build/real_data. ORVIDE_MIN_R2 is the least aggregate r2 that passes (default 0.945).
set -euo pipefail

binary=$(realpath "${1:?usage: scripts/check_real_data.sh BINARY FOLDER}")
folder=$(realpath "${2:?usage: scripts/check_real_data.sh BINARY FOLDER}")
cd "$(dirname "$0")/.."
lower=1250000
upper=2050000
out=build/real_data/chr20
mkdir -p build/real_data

start=$SECONDS
echo "imputing $lower to $upper of $folder ..."
"$binary" -g "$folder/study.gen.gz" -h "$folder/ref.hap.gz" -l "$folder/ref.legend.gz" -m "$folder/map.txt" \
    -int "$lower" "$upper" -seed 1 -o "$out" >"$out.log"
echo "done in $((SECONDS - start)) s"
python3 scripts/accuracy.py "$out" "$folder/truth.gen.gz" --typed "$folder/study.gen.gz" --interval "$lower" "$upper" \
    --least "${ORVIDE_MIN_R2:-0.945}"
