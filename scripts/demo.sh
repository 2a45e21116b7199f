#!/usr/bin/env bash
# Installs what is missing, builds ORVIDE, imputes the example data in examples/ and shows what came out.
#
# usage: scripts/demo.sh
set -euo pipefail
cd "$(dirname "$0")/.."

lower=1050000
upper=1350000
folder=build/demo
out=$folder/example

echo "== packages"
scripts/install_packages.sh --program

echo
echo "== build"
scripts/build.sh release -DORVIDE_TESTS=OFF -DORVIDE_BENCH=OFF

echo
echo "== imputation"
mkdir -p "$folder"
command=(build/release/orvide -m examples/map.txt -h examples/ref.hap.gz -l examples/ref.legend.gz
    -g examples/study.gen.gz -int "$lower" "$upper" -buffer 50 -seed 1 -o "$out")
echo "${command[*]}"
start=$SECONDS
"${command[@]}" >"$folder/log"
echo "done in $((SECONDS - start)) s; what it said is in $folder/log"

echo
echo "== how well typed genotypes come back when they are masked (end of ${out}_summary)"
sed -n '/^  Interval/,$p' "${out}_summary"

echo
echo "== genotype probabilities of the first three people, first lines of $out"
head -n 8 "$out" | cut -d ' ' -f 1-14

echo
echo "== quality by site, first lines of ${out}_info"
head -n 8 "${out}_info"

echo
echo "== squared correlation with the true genotypes at sites that the study did not type"
python3 scripts/accuracy.py "$out" examples/truth.gen.gz --typed examples/study.gen.gz --interval "$lower" "$upper"

echo
echo "== summary"
echo "imputed $(wc -l <"$out") sites of $(($(wc -l <examples/study.sample) - 2)) people; all results are in $folder:"
ls "$folder"
