#!/usr/bin/env bash
# Times a whole run on generated data: wall time, processor time and peak memory, over several runs.
#
# usage: bench/whole_run.sh [BINARY [OPTION ...]]
#
# BINARY is build/release/orvide by default, which is built first. The options are added to the command line. ORVIDE_RUNS sets
# the number of runs (3), ORVIDE_BENCH_SIZE the size of the data (medium): small, medium or large.
set -euo pipefail
here=$PWD
cd "$(dirname "$0")/.."
top=$PWD

runs=${ORVIDE_RUNS:-3}
size=${ORVIDE_BENCH_SIZE:-medium}
case $size in
    small) shape=(--reference 200 --people 20 --sites 800 --typed 90) ;;
    medium) shape=(--reference 600 --people 40 --sites 2500 --typed 200 --region 1000000 2000000 --map-points 200) ;;
    large) shape=(--reference 1200 --people 100 --sites 8000 --typed 500 --region 1000000 4000000 --map-points 500) ;;
    *)
        echo "ORVIDE_BENCH_SIZE must be small, medium or large, not $size" >&2
        exit 1
        ;;
esac

binary=$top/build/release/orvide
if [[ $# -gt 0 ]]; then
    cd "$here"
    binary=$(realpath "$1")
    cd "$top"
    shift
else
    scripts/build.sh release
fi

folder=build/bench/$size
if [[ ! -s $folder/truth.gen.gz ]]; then
    echo "making $size data in $folder ..."
    scripts/make_example_data.py "$folder" --seed 1 "${shape[@]}"
fi
upper=$(tail -n 1 "$folder/map.txt" | cut -d ' ' -f 1)
command=("$binary" -m "$folder/map.txt" -h "$folder/ref.hap.gz" -l "$folder/ref.legend.gz" -g "$folder/study.gen.gz"
    -int 1000000 "$upper" -seed 1 -o "$folder/out" "$@")
echo "${command[*]}"
python3 - "$runs" "$folder/out.log" "${command[@]}" <<'PYTHON'
import os, resource, statistics, subprocess, sys, time

runs, log, command = int(sys.argv[1]), sys.argv[2], sys.argv[3:]
walls, cpus = [], []
for i in range(runs):
    before, start = os.times(), time.perf_counter()
    with open(log, 'w') as out:
        subprocess.run(command, stdout=out, check=True)
    after = os.times()
    walls.append(time.perf_counter() - start)
    cpus.append(after.children_user + after.children_system - before.children_user - before.children_system)
    print('run %d: %.2f s' % (i + 1, walls[-1]), flush=True)
memory = resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss / 1024
print('wall %.2f s (min %.2f, max %.2f), processor %.2f s, peak memory %.0f MB: medians of %d runs'
      % (statistics.median(walls), min(walls), max(walls), statistics.median(cpus), memory, runs))
PYTHON
python3 scripts/accuracy.py "$folder/out" "$folder/truth.gen.gz" --typed "$folder/study.gen.gz" | tail -n 1
