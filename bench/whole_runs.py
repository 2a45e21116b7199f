#!/usr/bin/env python3
"""Times whole runs on coalescent data: processor time, wall time and peak memory, medians over several runs.

    whole_runs.py [--binary B] [--against B2] [--runs N] [--data FOLDER] [--real FOLDER] [--plot FILE] [CASE ...]

Without CASE, all of them but those on 50,000 haplotypes, whose data take a quarter of an hour to simulate. --against runs
a second binary in turn with the first and gives the ratio pair by pair. --plot draws the growth cases with matplotlib.
Data are made in FOLDER (build/bench) when they are not there yet.
"""
import argparse
import os
import statistics
import subprocess
import sys
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))
TOP = os.path.dirname(HERE)

# Data set -> options of coalescent_data.py.
DATA = {
    'base': [],
    'haplotypes_2500': ['--reference', '2500'],
    'haplotypes_10000': ['--reference', '10000'],
    'haplotypes_50000': ['--reference', '50000'],
    'sites_5000': ['--sites', '5000', '--typed', '450'],
    'sites_20000': ['--sites', '20000', '--typed', '1800'],
    'sites_60000': ['--sites', '60000', '--typed', '3000'],
    'people_50': ['--people', '50'],
    'people_200': ['--people', '200'],
}
UNPHASED = ['-g', '{data}/study.gen.gz']
PREPHASED = ['-known_haps_g', '{data}/study.haps.gz', '-use_prephased_g']
# Case -> (data set, options).
CASES = {
    'unphased': ('base', UNPHASED),
    'prephased': ('base', PREPHASED),
    'phase': ('base', UNPHASED + ['-phase']),
    'pgs': ('base', UNPHASED + ['-pgs']),
    'phase_mem_save_1': ('base', UNPHASED + ['-phase', '-mem_save_1', '-iter', '6', '-burnin', '3']),
    'phase_6_iterations': ('base', UNPHASED + ['-phase', '-iter', '6', '-burnin', '3']),
    'prephased_one_person': ('base', PREPHASED + ['-nind', '1']),
    'prephased_60000_sites': ('sites_60000', PREPHASED + ['-allow_large_regions']),
    'prephased_50000_haplotypes': ('haplotypes_50000', PREPHASED),
    'prephased_50000_haplotypes_one_person': ('haplotypes_50000', PREPHASED + ['-nind', '1']),
    'prephased_text_gz': ('base', PREPHASED + ['-o_gz']),
    'prephased_vcf_gz': ('base', PREPHASED + ['-chr', '20']),
    'prephased_vcf_gz_unphased_fields': ('base', PREPHASED + ['-chr', '20', '-format_fields', 'GT,DS,GP']),
    'prephased_bcf': ('base', PREPHASED + ['-chr', '20']),
}
GROWTH = {'haplotypes': ['haplotypes_2500', 'base', 'haplotypes_10000'],
          'sites': ['sites_5000', 'base', 'sites_20000'],
          'people': ['people_50', 'base', 'people_200']}
for sets in GROWTH.values():
    for data in sets:
        CASES.setdefault('growth_' + data, (data, PREPHASED))
        CASES.setdefault('growth_' + data + '_one_person', (data, PREPHASED + ['-nind', '1']))
# On real data, when --real names a folder of it.
REAL = {'real_unphased': [], 'real_phase': ['-phase'], 'real_pgs': ['-pgs']}


def data_folder(top, name):
    folder = os.path.join(top, name)
    if not os.path.exists(os.path.join(folder, 'truth.gen.gz')):
        print('making %s ...' % folder, file=sys.stderr, flush=True)
        subprocess.run([os.path.join(HERE, 'coalescent_data.py'), folder, *DATA[name]], check=True)
    return folder


def arguments(case, options):
    """The program's options for a case."""
    if case in REAL:
        d = options.real
        return ['-m', d + '/map.txt', '-h', d + '/ref.hap.gz', '-l', d + '/ref.legend.gz', '-g', d + '/study.gen.gz',
                '-int', '1250000', '2050000', *REAL[case]]
    name, given = CASES[case]
    d = data_folder(options.data, name)
    with open(d + '/map.txt', encoding='ascii') as lines:
        end = lines.readlines()[-1].split()[0]
    return ['-m', d + '/map.txt', '-h', d + '/ref.hap.gz', '-l', d + '/ref.legend.gz', '-int', '1000000', end,
            *(word.format(data=d) for word in given)]


def output_name(case):
    """The end of the -o name asks for VCF or BCF."""
    return 'out.vcf.gz' if '_vcf_gz' in case else 'out.bcf' if '_bcf' in case else 'out'


def measure(command, output):
    """(processor seconds, wall seconds, peak MB) of one run."""
    with tempfile.TemporaryDirectory() as out:
        start = time.perf_counter()
        child = subprocess.Popen([*command, '-seed', '1', '-o', os.path.join(out, output)], stdout=subprocess.DEVNULL)
        _, status, used = os.wait4(child.pid, 0)
        wall = time.perf_counter() - start
    if status != 0:
        sys.exit('failed: ' + ' '.join(command))
    return used.ru_utime + used.ru_stime, wall, used.ru_maxrss / 1024


def report(case, options):
    """Runs one case and prints its row. Returns the median processor time."""
    given = arguments(case, options)
    rows, others = [], []
    for _ in range(options.runs):
        rows.append(measure([options.binary, *given], output_name(case)))
        if options.against:
            others.append(measure([options.against, *given], output_name(case)))
    cpu, wall, memory = (statistics.median(column) for column in zip(*rows))
    line = '| %s | %.2f | %.2f | %.0f |' % (case, cpu, wall, memory)
    if others:
        ratios = [other[0] / row[0] for row, other in zip(rows, others)]
        line += ' %.2f | %.2f (%.2f to %.2f) |' % (statistics.median(o[0] for o in others), statistics.median(ratios),
                                                  min(ratios), max(ratios))
    print(line, flush=True)
    return cpu


def plot(seconds, path):
    """Draws the growth of prephased runs, reading left out, against the smallest data set."""
    import matplotlib
    matplotlib.use('svg')
    matplotlib.rcParams['svg.hashsalt'] = 'orvide'
    from matplotlib import pyplot
    figure, axes = pyplot.subplots(figsize=(5, 3.5))
    for what, sets in GROWTH.items():
        beyond = [seconds['growth_' + d] - seconds['growth_' + d + '_one_person'] for d in sets]
        axes.plot([1, 2, 4], [b / beyond[0] for b in beyond], marker='o', label=what)
        print('growth of %s: %s' % (what, ', '.join('%.2f' % (b / a) for a, b in zip(beyond, beyond[1:]))))
    axes.plot([1, 2, 4], [1, 2, 4], color='grey', linestyle=':', label='proportional')
    axes.set(xlabel='size, relative', ylabel='processor time beyond reading, relative', xticks=[1, 2, 4])
    axes.legend()
    figure.tight_layout()
    figure.savefig(path, metadata={'Date': None})


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument('--binary', default=os.path.join(TOP, 'build/release/orvide'))
    parser.add_argument('--against', metavar='BINARY')
    parser.add_argument('--runs', type=int, default=5)
    parser.add_argument('--data', default=os.path.join(TOP, 'build/bench'))
    parser.add_argument('--real', metavar='FOLDER')
    parser.add_argument('--plot', metavar='FILE')
    parser.add_argument('cases', nargs='*', metavar='CASE')
    options = parser.parse_args()
    cases = options.cases or [c for c in CASES if '50000' not in c] + (list(REAL) if options.real else [])
    unknown = [c for c in cases if c not in CASES and c not in REAL]
    if unknown:
        parser.error('no such case: ' + ', '.join(unknown))
    if options.plot and not all(c in cases for c in CASES if c.startswith('growth_')):
        parser.error('--plot needs the growth cases')

    print('| case | processor s | wall s | peak MB |' + (' against: processor s | ratio |' if options.against else ''))
    print('| --- | ---: | ---: | ---: |' + (' ---: | ---: |' if options.against else ''))
    seconds = {case: report(case, options) for case in cases}
    if options.plot:
        plot(seconds, options.plot)


if __name__ == '__main__':
    main()
