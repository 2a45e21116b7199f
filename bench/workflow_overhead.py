#!/usr/bin/env python3
"""Compares the workflow with the same commands in a plain shell loop: wall time, processor time, and all results byte by byte.

    workflow_overhead.py CONFIG [--folder FOLDER] [--pairs N] [--cores N]

CONFIG is a configuration of workflow/Snakefile with one chromosome, a study to be phased, on one thread a run; its `results` are not
touched. Both ways begin with nothing, in turn, in FOLDER (build/overhead). The loop starts chunks by xargs, as many at a time as the
workflow has cores, and makes the page beside the joining of chunks, as the workflow does. Needs python3-yaml.
"""
import argparse
import os
import resource
import shutil
import statistics
import subprocess
import sys
import time
from pathlib import Path

import yaml

TOP = Path(__file__).resolve().parent.parent
TIMES = ('_benchmark', '.log', '.html')  # results that tell times
LOOP = '''
imputed=results/imputed/$name
mkdir -p results/plan results/phased/chr$chr $imputed/chr$chr
limits="-max_kb $max_kb -min_typed $min_typed -gap_kb $gap_kb"
rows() { tail -n +2 "$1"; }
files() { cut -f 2 | xargs printf "$1/%03d.vcf.gz\\n"; }
for step in phasing $name; do
    orvide-plan -m $map -g $study -h $panel -chr $chr -buffer $buffer $limits -o results/plan/$step.chr$chr.tsv
done
rows results/plan/phasing.chr$chr.tsv | xargs -P $cores -L 1 bash -c '
    out=results/phased/chr$chr/$(printf %03d $1).vcf.gz
    orvide -g $study -h $panel -m $map -chr $chr -int $3 $4 -buffer $buffer -prephase_g -allow_large_regions -strict -seed $seed \\
        -threads 1 $phasing_options -o $out > ${out%.vcf.gz}.log 2>&1'
phased=$(rows results/plan/phasing.chr$chr.tsv | files results/phased/chr$chr)
orvide-ligate -o results/phased/chr$chr.vcf.gz $phased > results/phased/chr$chr.seams.tsv
rows results/plan/$name.chr$chr.tsv | xargs -P $cores -L 1 bash -c '
    out='$imputed'/chr$chr/$(printf %03d $1).vcf.gz
    orvide -strict -known_haps_g results/phased/chr$chr.vcf.gz -use_prephased_g -h $panel -m $map -chr $chr -int $3 $4 \\
        -buffer $buffer -allow_large_regions -seed $seed -threads 1 \\
        $imputation_options -o $out > ${out%.vcf.gz}.log 2>&1'
chunks=$(rows results/plan/$name.chr$chr.tsv | files $imputed/chr$chr)
orvide-report --panel --title "Imputation report: $name" -o $imputed/report.html $phased $chunks &
python3 "$workflow"/join_chunks.py --plan results/plan/$name.chr$chr.tsv --info $imputed/chr${chr}_info -o $imputed/chr$chr.vcf.gz $chunks
python3 "$workflow"/join_quality.py $imputed/study_info $imputed/chr${chr}_info -- $chr
wait $!
'''


def read_config(path):
    """The configuration with names of files that hold from everywhere."""
    config = yaml.safe_load(Path(path).read_text())
    if len(config['chromosomes']) != 1 or 'study' not in config:
        sys.exit('ERROR: the configuration [%s] must have one chromosome and a study to be phased' % path)
    for key in ('study', 'panel', 'map', 'programs'):
        if key in config:
            config[key] = os.path.abspath(config[key].replace('{chr}', str(config['chromosomes'][0])))
    return dict(config, results='results')


def loop_environment(config, cores):
    plan = {'max_kb': 5000, 'min_typed': 100, 'gap_kb': 1000, **config.get('plan', {})}
    values = {'chr': config['chromosomes'][0], 'name': config.get('panel_name', 'panel'), 'buffer': config.get('buffer_kb', 250),
              'seed': config.get('seed', 1), 'cores': cores, 'workflow': TOP / 'workflow',
              'PATH': ':'.join([config.get('programs', ''), str(TOP / 'tools'), os.environ['PATH']]),
              'phasing_options': config.get('phasing_options', ''), 'imputation_options': config.get('imputation_options', ''),
              **plan, **{key: config[key] for key in ('study', 'panel', 'map')}}
    return dict(os.environ, **{key: str(value) for key, value in values.items()})


def measure(folder, words, environment):
    """(wall seconds, processor seconds) of a command in a folder that is empty before."""
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    start = time.monotonic()
    with open(folder / 'log', 'w', encoding='utf-8') as log:
        status = subprocess.run(words, cwd=folder, env=environment, stdout=log, stderr=log, check=False).returncode
    wall = time.monotonic() - start
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    if status:
        sys.exit('ERROR: status %d; see [%s]' % (status, folder / 'log'))
    return wall, after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime


def content(path):
    """Its bytes; of a summary, without the name of the program's folder."""
    if path.name.endswith('_summary'):
        return [line for line in path.read_text().splitlines() if not line.startswith('Command-line input:')]
    return path.read_bytes()


def results_of(folder):
    return {path.relative_to(folder): content(path) for path in (folder / 'results').rglob('*')
            if path.is_file() and not path.name.endswith(TIMES)}


def compare(one, other):
    a, b = results_of(one), results_of(other)
    different = sorted(str(name) for name in a.keys() | b.keys() if a.get(name) != b.get(name))
    print('results: %d files, %s' % (len(a), 'all the same' if not different else 'different: ' + ' '.join(different)))
    return not different


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument('config', metavar='CONFIG')
    parser.add_argument('--folder', default=TOP / 'build' / 'overhead', type=Path)
    parser.add_argument('--pairs', default=1, type=int)
    parser.add_argument('--cores', default=2, type=int)
    options = parser.parse_args()
    config = read_config(options.config)
    folder = options.folder.resolve()
    folder.mkdir(parents=True, exist_ok=True)
    (folder / 'config.yaml').write_text(yaml.safe_dump(config))
    by_workflow = ['snakemake', '-s', TOP / 'workflow' / 'Snakefile', '--configfile', folder / 'config.yaml', '--cores', str(options.cores)]
    ratios = []
    for number in range(1, options.pairs + 1):
        loop = measure(folder / 'loop', ['bash', '-euo', 'pipefail', '-c', LOOP], loop_environment(config, options.cores))
        flow = measure(folder / 'workflow', by_workflow, dict(os.environ))
        ratios.append((flow[0] / loop[0], flow[1] / loop[1]))
        print('pair %d: loop %.1f s wall, %.1f s processor; workflow %.1f s, %.1f s; ratio %.3f, %.3f'
              % (number, *loop, *flow, *ratios[-1]), flush=True)
        if not compare(folder / 'loop', folder / 'workflow'):
            return 1
    print('median ratio: wall %.3f, processor %.3f' % tuple(map(statistics.median, zip(*ratios))))
    return 0


if __name__ == '__main__':
    sys.exit(main())
